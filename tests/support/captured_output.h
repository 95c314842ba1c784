// SPDX-License-Identifier: Apache-2.0
// Standard output and standard error in memory for the length of one scope.
#pragma once

#include <cstddef>
#include <string>

namespace scripted {

/// Redirects the descriptors 1 and 2 from construction until release() or destruction. One at a time. GoogleTest
/// reports on standard output too, so release before checking.
class CapturedOutput {
public:
    CapturedOutput();
    ~CapturedOutput();
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

    /// Gives the descriptors back; what was captured stays readable.
    void release();

    [[nodiscard]] std::string out() const;
    [[nodiscard]] std::string err() const;

    /// Bytes that have reached standard output since the current capture began; 0 without one. Bytes that still wait in
    /// a stream's buffer have not reached it.
    [[nodiscard]] static std::size_t printed();

private:
    class Stream {
    public:
        explicit Stream(int descriptor);
        ~Stream();
        Stream(const Stream&) = delete;
        Stream& operator=(const Stream&) = delete;

        void release();
        [[nodiscard]] std::string text() const;
        [[nodiscard]] std::size_t size() const;

    private:
        int descriptor_;
        int original_;
        int memory_;
    };
    Stream outStream_;
    Stream errStream_;
};

} // namespace scripted
