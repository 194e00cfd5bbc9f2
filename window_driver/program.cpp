#include "window_driver.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <thread>

#include "failure.h"
#include "utf8.h"

namespace desk {
namespace {

constexpr Milliseconds kPollInterval{20};
constexpr Milliseconds kDyingTime{500};
constexpr DWORD kKillMilliseconds = 5'000;

std::vector<const Program*> programs;

bool IsCrash(DWORD exitCode) {
    return exitCode >> 16 == 0xC000;
}

std::string UnexpectedEnds() {
    std::string ends;
    for (const Program* program : programs) {
        const std::string end = program->UnexpectedEnd();
        if (!end.empty()) ends += "; " + end;
    }
    return ends;
}

bool IsOurs(DWORD processId) {
    return processId == GetCurrentProcessId() ||
           std::any_of(programs.begin(), programs.end(),
                       [processId](const Program* program) { return program->Id() == processId; });
}

// The choice of a combo box, the one text that only its thread knows; "?" when that does not answer at once.
std::string Choice(HWND combo) {
    constexpr UINT kAtOnce = 200;
    std::array<wchar_t, 256> text{};
    DWORD_PTR length = 0;
    const LRESULT answered =
        SendMessageTimeoutW(combo, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()),
                            SMTO_ABORTIFHUNG, kAtOnce, &length);
    return answered ? "choice \"" + ToUtf8({text.data(), length}) + "\"" : "choice ?";
}

// Otherwise nobody is asked for a text: it may be the one who does not answer.
std::string OnShow() {
    std::string shown = "; on show:";
    for (HWND window = nullptr; (window = FindWindowExW(nullptr, window, nullptr, nullptr)) != nullptr;) {
        if (!IsWindowVisible(window) || !IsOurs(ProcessOf(window))) continue;
        shown += "\n    " + Describe(window);
        for (HWND child = nullptr; (child = FindWindowExW(window, child, nullptr, nullptr)) != nullptr;) {
            const bool isCombo = ClassName(child) == L"ComboBox";
            const std::string text = isCombo ? Choice(child) : ToUtf8(ShownText(child));
            if (!IsWindowVisible(child) || text.empty()) continue;
            shown += " | " + text + (IsEnabled(child) ? "" : " (disabled)");
        }
    }
    return shown;
}

// Ends with this process, however that ends, and takes the programs in it along.
HANDLE Job() {
    static const HANDLE job = [] {
        const HANDLE made = CreateJobObjectW(nullptr, nullptr);
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        SetInformationJobObject(made, JobObjectExtendedLimitInformation, &limits, sizeof limits);
        return made;
    }();
    return job;
}

}  // namespace

std::string Describe(HWND window) {
    if (!IsWindow(window)) return "a window that is gone";
    const int id = GetDlgCtrlID(window);
    return ToUtf8(ClassName(window)) + (id != 0 ? " " + std::to_string(id) : "") + " \"" +
           ToUtf8(ShownText(window)) + "\"";
}

bool HappensWithin(Milliseconds timeout, const std::function<bool()>& question) {
    const Clock::time_point end = Clock::now() + timeout;
    for (;;) {
        // Before the question: what a program does last counts.
        const bool isLast = Clock::now() >= end || !UnexpectedEnds().empty();
        if (question()) return true;
        if (isLast) return false;
        std::this_thread::sleep_for(kPollInterval);
    }
}

void Fail(const std::string& what) {
    // The windows of a program that crashes go before it does.
    HappensWithin(kDyingTime, [] { return false; });
    const std::string ends = UnexpectedEnds();
    throw DeskError(what + (ends.empty() ? OnShow() : ends));
}

void FailSince(Clock::time_point start, const std::string& what) {
    const auto tenths = (Clock::now() - start) / Milliseconds{100};
    Fail("waited " + std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s for " + what);
}

void WaitUntil(const std::string& what, const std::function<bool()>& question, Milliseconds timeout) {
    const Clock::time_point start = Clock::now();
    if (!HappensWithin(timeout, question)) FailSince(start, what);
}

void WaitFor(const std::string& what, const std::wstring& expected,
             const std::function<std::wstring()>& value, Milliseconds timeout) {
    const Clock::time_point start = Clock::now();
    constexpr std::size_t kMostTold = 5;
    std::vector<std::wstring> seen;
    const auto isThere = [&] {
        if (std::wstring now = value(); seen.empty() || seen.back() != now) seen.push_back(std::move(now));
        return seen.back() == expected;
    };
    if (HappensWithin(timeout, isThere)) return;
    std::string told;
    for (std::size_t i = seen.size() - std::min(seen.size(), kMostTold); i < seen.size(); ++i)
        told += (told.empty() ? "\"" : ", then \"") + ToUtf8(seen[i]) + "\"";
    FailSince(start, what + " \"" + ToUtf8(expected) + "\", which was " + told);
}

Program::Program(const std::wstring& exePath, const std::wstring& directory, int showCommand)
    : name_(ToUtf8(exePath.substr(exePath.find_last_of(L"\\/") + 1))) {
    // Inherited: no box of the system asks what to do about a crash.
    SetErrorMode(GetErrorMode() | SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = static_cast<WORD>(showCommand);
    std::wstring commandLine = L"\"" + exePath + L"\"";
    if (!CreateProcessW(exePath.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                        directory.empty() ? nullptr : directory.c_str(), &startup, &info_)) {
        throw DeskError("cannot start " + ToUtf8(exePath) + ": error " + std::to_string(GetLastError()));
    }
    AssignProcessToJobObject(Job(), info_.hProcess);
    programs.push_back(this);
}

Program::~Program() {
    std::erase(programs, this);
    Kill();
    if (IsRunning()) std::printf("%s cannot be ended\n", name_.c_str());
    CloseHandle(info_.hThread);
    CloseHandle(info_.hProcess);
}

bool Program::IsRunning() const noexcept {
    return WaitForSingleObject(info_.hProcess, 0) == WAIT_TIMEOUT;
}

std::string Program::UnexpectedEnd() const {
    constexpr DWORD kAbort = 3;
    DWORD code = 0;
    if (endIsExpected_ || IsRunning() || !GetExitCodeProcess(info_.hProcess, &code)) return {};
    char text[40];
    std::snprintf(text, sizeof text, IsCrash(code) ? "crashed with code 0x%08lX" : "ended with code %lu",
                  code);
    return name_ + " " + text + (code == kAbort ? ", that of abort" : "");
}

DWORD Program::WaitForEnd(Milliseconds timeout) {
    WaitUntil(
        "the end of " + name_, [this] { return !IsRunning(); }, timeout);
    DWORD code = 0;
    if (!GetExitCodeProcess(info_.hProcess, &code) || IsCrash(code)) Fail("waited for the end");
    endIsExpected_ = true;
    return code;
}

void Program::Kill() noexcept {
    if (!IsRunning()) return;
    endIsExpected_ = true;
    TerminateProcess(info_.hProcess, 1);
    WaitForSingleObject(info_.hProcess, kKillMilliseconds);
}

}  // namespace desk
