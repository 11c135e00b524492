#include "engine/WholeRecords.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace vantrel {
namespace {

using Bytes = std::vector<std::uint8_t>;

void addRecord(Bytes& file, std::uint32_t captured, std::size_t written) {
    Bytes record(recordHeaderLength + written);
    std::memcpy(record.data() + 8, &captured, sizeof captured);
    file.insert(file.end(), record.begin(), record.end());
}

WholeRecords of(const Bytes& file, std::uint64_t from = 0) {
    return wholeRecords(from, file.size(), [&file](std::uint64_t offset, std::span<std::uint8_t> bytes) {
        std::copy_n(file.begin() + static_cast<std::ptrdiff_t>(offset), bytes.size(), bytes.begin());
        return true;
    });
}

TEST(WholeRecords, EachIsCounted) {
    Bytes file;
    addRecord(file, 100, 100);
    addRecord(file, 0, 0);
    const WholeRecords whole = of(file);
    EXPECT_EQ(whole.end, file.size());
    EXPECT_EQ(whole.frames, 2U);
    EXPECT_EQ(whole.size, 100U + 24 + 24);
    EXPECT_EQ(of(file, 116).frames, 1U);
}

TEST(WholeRecords, OneThatEndsBehindTheFileIsLeftOut) {
    for (const std::uint32_t captured : {101U, 0x7FFF'FFFFU, 0xFFFF'FFFFU}) {
        Bytes file;
        addRecord(file, 10, 10);
        addRecord(file, captured, 100);
        EXPECT_EQ(of(file).end, 26U) << captured;
        EXPECT_EQ(of(file).frames, 1U) << captured;
    }
}

TEST(WholeRecords, AHeaderThatEndsBehindTheFileIsNotRead) {
    Bytes file;
    addRecord(file, 10, 10);
    file.resize(file.size() + recordHeaderLength - 1);
    EXPECT_EQ(of(file).end, 26U);
    EXPECT_EQ(of({}).end, 0U);
}

TEST(WholeRecords, WhatCannotBeReadEndsThem) {
    const auto refuse = [](std::uint64_t, std::span<std::uint8_t>) { return false; };
    EXPECT_EQ(wholeRecords(24, 1000, refuse).end, 24U);
    EXPECT_EQ(wholeRecords(24, 1000, refuse).frames, 0U);
}

} // namespace
} // namespace vantrel
