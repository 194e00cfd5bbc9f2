#pragma once

#include <windows.h>

#include <cstddef>

#include "text/owner.h"

struct ITaskbarList3;

/// Shows long work on the program's taskbar button: that it runs, how far it is, that it has failed. The
/// button flashes when work of more than a few seconds ends while another program is in front. Windows is
/// asked for its taskbar with the first work; where there is none, nothing is shown and it is not asked
/// again. Belongs to the thread of the windows and is destroyed after its message loop, as COM wants to be
/// closed.
class TaskbarProgress {
public:
    TaskbarProgress() = default;
    TaskbarProgress(const TaskbarProgress&) = delete;
    TaskbarProgress& operator=(const TaskbarProgress&) = delete;

    /// Work begins: running without measure, on the button of `window` or of the window that owns it.
    void Start(HWND window) noexcept;

    /// How far the running work is: `done` of `total` steps.
    void Measure(size_t done, size_t total) noexcept;

    /// The running work is done, or waits for an answer: nothing is shown. Does nothing when none runs.
    void Finish() noexcept;

    /// The running work has failed: red. Does nothing when none runs.
    void Fail() noexcept;

    /// Takes away the red of failed work.
    void Clear() noexcept;

private:
    enum class State { Idle, Running, Failed };
    struct ComTrait {
        using Handle = bool;
        static constexpr Handle kNone = false;
        static void Close(Handle) noexcept;
    };
    struct TaskbarTrait {
        using Handle = ITaskbarList3*;
        static constexpr Handle kNone = nullptr;
        static void Close(Handle taskbar) noexcept;
    };

    void Connect() noexcept;
    void Show(State state) noexcept;
    void End(State state) noexcept;

    bool asked_ = false;
    Owner<ComTrait> com_;
    Owner<TaskbarTrait> taskbar_;  // behind com_: released before it
    HWND button_ = nullptr;
    State state_ = State::Idle;
    ULONGLONG startedAt_ = 0;  // milliseconds of the system's clock
};
