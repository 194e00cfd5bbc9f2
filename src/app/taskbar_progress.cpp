#include "app/taskbar_progress.h"

// after windows.h, which they need
#include <objbase.h>
#include <shobjidl.h>

namespace {

constexpr ULONGLONG kLongWorkMilliseconds = 5000;

bool AnotherProgramIsInFront() noexcept {
    DWORD process = 0;
    GetWindowThreadProcessId(GetForegroundWindow(), &process);
    return process != GetCurrentProcessId();
}

// A number of times, not until the window comes to the front: a message box or the repair window does that.
void Flash(HWND window) noexcept {
    constexpr UINT kTimes = 5;
    FLASHWINFO flash = {sizeof flash, window, FLASHW_TRAY, kTimes, 0};
    FlashWindowEx(&flash);
}

}  // namespace

void TaskbarProgress::ComTrait::Close(Handle) noexcept {
    CoUninitialize();
}

void TaskbarProgress::TaskbarTrait::Close(Handle taskbar) noexcept {
    taskbar->Release();
}

void TaskbarProgress::Start(HWND window) noexcept {
    Connect();
    button_ = GetAncestor(window, GA_ROOTOWNER);
    startedAt_ = GetTickCount64();
    Show(State::Running);
}

void TaskbarProgress::Measure(size_t done, size_t total) noexcept {
    if (taskbar_ && state_ == State::Running) taskbar_.Get()->SetProgressValue(button_, done, total);
}

void TaskbarProgress::Finish() noexcept {
    End(State::Idle);
}

void TaskbarProgress::Fail() noexcept {
    End(State::Failed);
}

void TaskbarProgress::Clear() noexcept {
    if (state_ == State::Failed) Show(State::Idle);
}

void TaskbarProgress::Connect() noexcept {
    if (asked_) return;
    asked_ = true;
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE))) return;
    com_.Reset(true);
    ITaskbarList3* taskbar = nullptr;
    CoCreateInstance(__uuidof(TaskbarList), nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&taskbar));
    taskbar_.Reset(taskbar);
    if (taskbar && FAILED(taskbar->HrInit())) taskbar_.Reset();
}

// A call may wait for Explorer. Meanwhile only messages that are sent come in: no press of a key or button
// starts another action.
void TaskbarProgress::Show(State state) noexcept {
    constexpr TBPFLAG kFlags[] = {TBPF_NOPROGRESS, TBPF_INDETERMINATE, TBPF_ERROR};
    state_ = state;
    if (taskbar_) taskbar_.Get()->SetProgressState(button_, kFlags[static_cast<size_t>(state)]);
}

void TaskbarProgress::End(State state) noexcept {
    if (state_ != State::Running) return;
    Show(state);
    if (GetTickCount64() - startedAt_ > kLongWorkMilliseconds && AnotherProgramIsInFront()) Flash(button_);
}
