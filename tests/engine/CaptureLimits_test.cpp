#include "engine/CaptureLimits.h"

#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace vantrel {
namespace {

struct Row {
    const char* name;
    std::int64_t value;
    std::int64_t units;
    CaptureLimits expected;
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

class CaptureLimitsTable : public ::testing::TestWithParam<Row> {};

TEST_P(CaptureLimitsTable, Gives) {
    const QTemporaryDir folder;
    SettingsStore settings(folder.filePath(QStringLiteral("settings.json")));
    settings.setBool(keys::LimitCaptureFile, true);
    settings.setInteger(keys::LimitCaptureFileValue, GetParam().value);
    settings.setInteger(keys::LimitCaptureFileUnits, GetParam().units);
    const CaptureLimits limits = captureLimits(settings);
    EXPECT_EQ(limits.maxFileSize, GetParam().expected.maxFileSize);
    EXPECT_EQ(limits.maxFileFrames, GetParam().expected.maxFileFrames);
    EXPECT_EQ(limits.seconds, GetParam().expected.seconds);
}

constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();

INSTANTIATE_TEST_SUITE_P(Table, CaptureLimitsTable,
                         ::testing::Values(Row{"Kilobytes", 2048, 0, {.maxFileSize = 2'097'152}},
                                           Row{"KilobytesWrap", 2'097'152, 0, {.maxFileSize = -2'147'483'648}},
                                           Row{"KilobytesLoseHighBits", 4'194'305, 0, {.maxFileSize = 1024}},
                                           Row{"Megabytes2047", 2047, 1, {.maxFileSize = 2'146'435'072}},
                                           Row{"Megabytes2048", 2048, 1, {.maxFileSize = -2'147'483'648}},
                                           Row{"Megabytes4096", 4096, 1, {.maxFileSize = 0}},
                                           Row{"NegativeMegabytes", -1, 1, {.maxFileSize = -1'048'576}},
                                           Row{"Seconds", 30, 2, {.seconds = 30}}, Row{"NoSeconds", 0, 2, {}},
                                           Row{"NegativeSeconds", -5, 2, {}}, Row{"Minutes", 2, 3, {.seconds = 120}},
                                           Row{"NoMinutes", 0, 3, {}},
                                           Row{"EndlessMinutes", most, 3, {.seconds = most / 60 * 60}},
                                           Row{"Frames", 1, 4, {.maxFileFrames = 1}},
                                           Row{"FramesTruncated", 4'294'967'297, 4, {.maxFileFrames = 1}},
                                           Row{"FramesWidened", 2'147'483'648, 4, {.maxFileFrames = -2'147'483'648}},
                                           Row{"UnknownUnit", 10, 5, {}}, Row{"NegativeUnit", 10, -1, {}}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(CaptureLimits, NothingIsArmedWhileTheLimitIsOff) {
    const QTemporaryDir folder;
    SettingsStore settings(folder.filePath(QStringLiteral("settings.json")));
    settings.setInteger(keys::LimitCaptureFileValue, 10);
    settings.setInteger(keys::LimitCaptureFileUnits, 4);
    const CaptureLimits limits = captureLimits(settings);
    EXPECT_EQ(limits.maxFileSize + limits.maxFileFrames + limits.seconds, 0);
}

} // namespace
} // namespace vantrel
