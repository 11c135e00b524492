#include "RadioFixture.h"

#include "support/EventLoop.h"

#include <csignal>

namespace vantrel::testing {

namespace {

using namespace std::chrono_literals;

constexpr auto patience = 20s; // on a machine under load

} // namespace

std::vector<std::string> EventRecorder::events() const {
    const std::lock_guard lock(_mutex);
    return _events;
}

bool EventRecorder::waitFor(std::size_t count) const {
    std::unique_lock lock(_mutex);
    return _noted.wait_for(lock, patience, [this, count] { return _events.size() >= count; });
}

void EventRecorder::note(const char* event, const QString& name) {
    const std::lock_guard lock(_mutex);
    _events.push_back(std::string(event) + " " + name.toStdString());
    _noted.notify_all();
}

RadioOptions RadioTest::options(const char* behaviour, const QString& argument) {
    RadioOptions options;
    options.program = QStringLiteral(FAKE_RADIO);
    options.arguments = {QString::fromLatin1(behaviour), argument};
    return options;
}

void RadioTest::start(const RadioOptions& options) {
    auto client = makeRadioClient(options);
    ASSERT_TRUE(client) << client.error().text().toStdString();
    _client = std::move(*client);
}

void RadioTest::monitorAll(CWEventDelegate& delegate) const {
    _client->setDelegate(&delegate);
    for (const auto type : {CWEventType::PowerDidChange, CWEventType::SSIDDidChange, CWEventType::BSSIDDidChange,
                            CWEventType::ModeDidChange}) {
        EXPECT_TRUE(_client->startMonitoringEventWithType(type));
    }
}

int RadioTest::processId() const {
    const QString name = adapter().ssid();
    return name.startsWith(QLatin1String("pid ")) ? name.mid(4).toInt() : 0;
}

bool RadioTest::waitForAnother(int former) const {
    return runUntil([this, former] {
        const int id = processId();
        return id != 0 && id != former;
    });
}

bool exists(int processId) { return processId > 0 && ::kill(processId, 0) == 0; }

} // namespace vantrel::testing
