// Children for the tests of ChildProcess.
#pragma once

#include "base/ChildProcess.h"

#include <gtest/gtest.h>

namespace vantrel::testing {

inline ChildCommand shell(const char* script, std::chrono::milliseconds grace = std::chrono::seconds(60)) {
    return {.program = QStringLiteral("/bin/sh"),
            .arguments = {QStringLiteral("-c"), QString::fromUtf8(script)},
            .environment = {},
            .errors = ChildCommand::Errors::Captured,
            .grace = grace};
}

inline ChildResult run(const ChildCommand& command) {
    auto child = ChildProcess::start(command);
    if (!child) {
        ADD_FAILURE() << child.error().text().toStdString();
        return {.output = {}, .errors = {}, .status = -2};
    }
    return (*child)->waitUntilExit();
}

} // namespace vantrel::testing
