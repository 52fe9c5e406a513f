#pragma once

#include <string>

namespace safety {

/// Takes what this process writes to standard output, as long as it lives.
class CapturedOutput {
public:
    /// Throws std::system_error when no file can be made.
    CapturedOutput();
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;
    ~CapturedOutput();

    /// What has been written so far.
    [[nodiscard]] std::string text() const;

private:
    int file_;
    int standardOutput_; ///< where the output went before
};

} // namespace safety
