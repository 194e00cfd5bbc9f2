#pragma once

#include "window_driver.h"

namespace desk {

using Clock = std::chrono::steady_clock;

/// Calls `question` until it returns true. @return false after the time-out, or when a program has ended.
bool HappensWithin(Milliseconds timeout, const std::function<bool()>& question);

/// Throws the DeskError that the public header describes: `what` went wrong, then what is seen of the
/// programs.
[[noreturn]] void Fail(const std::string& what);
/// The same for what has been waited for.
[[noreturn]] void FailSince(Clock::time_point start, const std::string& what);

/// A window in such a text: class, control ID, text.
std::string Describe(HWND window);

}  // namespace desk
