#include "window_driver.h"

#include <algorithm>
#include <cstdio>

#include "failure.h"
#include "utf8.h"

namespace desk {
namespace {

constexpr Milliseconds kPollInterval{20};
constexpr Milliseconds kDyingTime{500};
constexpr DWORD kKillMilliseconds = 5'000;

std::vector<const Program*> programs;

// The system's own exceptions. Others belong to a language, or come only because there is a debugger.
bool IsCrash(DWORD code) {
    return code >> 16 == 0xC000 && code != STATUS_INVALID_HANDLE;
}

LONG CALLBACK OnException(EXCEPTION_POINTERS* exception) {
    const DWORD code = exception->ExceptionRecord->ExceptionCode;
    if (!IsCrash(code)) return EXCEPTION_CONTINUE_SEARCH;
    std::printf("this process crashed with code 0x%08lX\n", code);
    std::fflush(stdout);
    TerminateProcess(GetCurrentProcess(), code);
    return EXCEPTION_CONTINUE_EXECUTION;
}

// What a debugger sees of a program that this thread has started, until the program's end.
void Follow(HANDLE process, const std::stop_token& stop) {
    for (DEBUG_EVENT event{}; !stop.stop_requested() && event.dwDebugEventCode != EXIT_PROCESS_DEBUG_EVENT;) {
        if (!WaitForDebugEvent(&event, static_cast<DWORD>(kDyingTime.count()))) continue;
        DWORD exception = EXCEPTION_BREAKPOINT;  // of which every program raises one for its debugger
        if (event.dwDebugEventCode == EXCEPTION_DEBUG_EVENT) {
            exception = event.u.Exception.ExceptionRecord.ExceptionCode;
            if (IsCrash(exception)) TerminateProcess(process, exception);
        }
        if (event.dwDebugEventCode == CREATE_PROCESS_DEBUG_EVENT)
            CloseHandle(event.u.CreateProcessInfo.hFile);
        if (event.dwDebugEventCode == LOAD_DLL_DEBUG_EVENT) CloseHandle(event.u.LoadDll.hFile);
        const bool isForUs = exception == EXCEPTION_BREAKPOINT || exception == STATUS_INVALID_HANDLE;
        ContinueDebugEvent(event.dwProcessId, event.dwThreadId,
                           isForUs ? DBG_CONTINUE : DBG_EXCEPTION_NOT_HANDLED);
    }
}

std::string UnexpectedEnds() {
    std::string ends;
    for (const Program* program : programs) ends += program->UnexpectedEnd();
    return ends;
}

bool IsOurs(DWORD processId) {
    return processId == GetCurrentProcessId() ||
           std::any_of(programs.begin(), programs.end(),
                       [processId](const Program* program) { return program->Id() == processId; });
}

// Nobody is asked for a text: it may be the one who does not answer.
std::string OnShow() {
    std::string shown = "; on show:";
    for (HWND window = nullptr; (window = FindWindowExW(nullptr, window, nullptr, nullptr)) != nullptr;) {
        if (!IsWindowVisible(window) || !IsOurs(ProcessOf(window))) continue;
        shown += "\n    " + Describe(window);
        for (HWND child = nullptr; (child = FindWindowExW(window, child, nullptr, nullptr)) != nullptr;) {
            const std::string text = ToUtf8(ShownText(child));
            if (!IsWindowVisible(child) || text.empty()) continue;
            shown += " | " + text + (IsEnabled(child) ? "" : " (disabled)");
        }
    }
    return shown;
}

}  // namespace

std::string Describe(HWND window) {
    if (!IsWindow(window)) return "a window that is gone";
    return ToUtf8(ClassName(window)) + " " + std::to_string(GetDlgCtrlID(window)) + " \"" +
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

bool EndProcessOnCrash() {
    return AddVectoredExceptionHandler(TRUE, OnException) != nullptr;
}

Program::Program(const std::wstring& exePath, const std::wstring& directory, OnCrash onCrash)
    : name_(ToUtf8(exePath.substr(exePath.find_last_of(L"\\/") + 1))) {
    // Inherited: no box of the system asks what to do about a crash.
    SetErrorMode(GetErrorMode() | SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    const DWORD flags = onCrash == OnCrash::End ? DEBUG_ONLY_THIS_PROCESS : 0;
    // Only the thread that has started a program can follow it.
    follower_ = std::jthread([&, flags](const std::stop_token& stop) {
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        std::wstring commandLine = L"\"" + exePath + L"\"";
        const BOOL started =
            CreateProcessW(exePath.c_str(), commandLine.data(), nullptr, nullptr, FALSE, flags, nullptr,
                           directory.empty() ? nullptr : directory.c_str(), &startup, &info_);
        startError_.set_value(started ? ERROR_SUCCESS : GetLastError());
        if (started && flags != 0) Follow(info_.hProcess, stop);
    });
    if (const DWORD error = startError_.get_future().get(); error != ERROR_SUCCESS) {
        throw DeskError("cannot start " + ToUtf8(exePath) + ": error " + std::to_string(error));
    }
    programs.push_back(this);
}

Program::~Program() {
    std::erase(programs, this);
    Kill();
    if (IsRunning()) std::printf("%s cannot be ended\n", name_.c_str());
    follower_ = {};
    CloseHandle(info_.hThread);
    CloseHandle(info_.hProcess);
}

bool Program::IsRunning() const noexcept {
    return WaitForSingleObject(info_.hProcess, 0) == WAIT_TIMEOUT;
}

DWORD Program::ExitCode() const noexcept {
    DWORD code = 0;
    GetExitCodeProcess(info_.hProcess, &code);
    return code;
}

std::string Program::UnexpectedEnd() const {
    if (endIsExpected_ || IsRunning()) return {};
    char text[40];
    std::snprintf(text, sizeof text,
                  IsCrash(ExitCode()) ? "crashed with code 0x%08lX" : "ended with code %lu", ExitCode());
    return "; " + name_ + " " + text;
}

DWORD Program::WaitForEnd(Milliseconds timeout) {
    WaitUntil(
        "the end of " + name_, [this] { return !IsRunning(); }, timeout);
    if (IsCrash(ExitCode())) Fail("waited for the end");
    endIsExpected_ = true;
    return ExitCode();
}

void Program::Kill() noexcept {
    if (!IsRunning()) return;
    endIsExpected_ = true;
    TerminateProcess(info_.hProcess, 1);
    WaitForSingleObject(info_.hProcess, kKillMilliseconds);
}

}  // namespace desk
