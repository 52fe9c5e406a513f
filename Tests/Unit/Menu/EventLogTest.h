#pragma once

// Tests of the event log, each with a log file of its own.

#include "Support/Files.h"
#include "Support/LogText.h"
#include "Veilpane/Menu/EventLog.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#import <Foundation/Foundation.h>

namespace veilpane::test {

/// A test whose log file is in a new folder.
class EventLogTest : public testing::Test {
protected:
    EventLogTest() { setenv("TMPDIR", directory_.path().c_str(), 1); }

    [[nodiscard]] std::filesystem::path file() const { return directory_.path() / "Veilpane.log"; }

    /// Logs the message and returns what standard error got of it.
    static std::string logged(NSString* message) {
        testing::internal::CaptureStderr();
        EventLog::log(message);
        return withoutTimes(testing::internal::GetCapturedStderr());
    }

private:
    TemporaryDirectory directory_;
};

} // namespace veilpane::test
