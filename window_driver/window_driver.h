#pragma once

/// Drives another process's windows as a user would, by window class and control ID.
///
/// Everything goes through messages and input events that Windows passes between processes, so the driven
/// program needs no test hook. Both processes must have the same bitness (list rows are read from the other
/// process's memory). All texts are UTF-16; DeskError carries UTF-8. Coordinates are physical pixels.
///
/// Unless an operation says otherwise it waits for the other thread's answer, up to kAnswerTimeout, and
/// throws DeskError when no answer comes, when the window is gone, or when a user could not do it either
/// (pressing a disabled button).
///
/// A DeskError tells what was waited for and how long, then how a driven program has ended ("NAME.exe crashed
/// with code 0xC0000005"), which ends every wait, or else what is on show: each visible window of the driven
/// programs and of this one with the texts of its labels and buttons and the choice of each combo box.

#include <windows.h>

#include <chrono>
#include <functional>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace desk {

using Milliseconds = std::chrono::milliseconds;

/// For a window's thread, which answers when its action ends: several times what the longest one takes on a
/// busy machine, and little beside the minute that a test case has.
inline constexpr Milliseconds kAnswerTimeout{20'000};
/// For what comes by itself: a window, a message box, a text.
inline constexpr Milliseconds kWindowTimeout{10'000};

class DeskError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Calls `question` until it returns true. @throws DeskError naming `what` after the time-out.
void WaitUntil(const std::string& what, const std::function<bool()>& question,
               Milliseconds timeout = kWindowTimeout);

/// Calls `value` until it gives `expected`. @throws DeskError naming `what` and the last values, in the order
/// in which they came, after the time-out.
void WaitFor(const std::string& what, const std::wstring& expected,
             const std::function<std::wstring()>& value, Milliseconds timeout = kWindowTimeout);

// ---- A started program ------------------------------------------------------------------------------------

/// A started program. It ends with our process; the destructor ends it if it still runs, and gives up with a
/// line on standard output.
class Program {
public:
    /// @param directory    current directory of the new process; empty means our own
    /// @param showCommand  how its first window is to come up (SW_SHOWMINIMIZED, ...)
    explicit Program(const std::wstring& exePath, const std::wstring& directory = {},
                     int showCommand = SW_SHOWNORMAL);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    DWORD Id() const noexcept { return info_.dwProcessId; }
    HANDLE Process() const noexcept { return info_.hProcess; }
    bool IsRunning() const noexcept;
    /// Waits for the process to end by itself. @return its exit code. @throws DeskError, too, after a crash.
    DWORD WaitForEnd(Milliseconds timeout = kWindowTimeout);
    /// Ends it at once, as the task manager does.
    void Kill() noexcept;
    /// "NAME.exe ended with code 1" after an end that neither WaitForEnd nor Kill asked for, otherwise empty.
    std::string UnexpectedEnd() const;

private:
    std::string name_;
    PROCESS_INFORMATION info_{};
    bool endIsExpected_ = false;
};

// ---- Windows and controls ---------------------------------------------------------------------------------

/// The process that a window belongs to; 0 for a window that is gone.
DWORD ProcessOf(HWND window);
/// Top-level window of a process by class name, visible or not; null when there is none.
HWND FindTopWindow(DWORD processId, const std::wstring& windowClass);
/// Waits until the process shows a window of this class.
HWND WaitForTopWindow(DWORD processId, const std::wstring& windowClass,
                      Milliseconds timeout = kWindowTimeout);
/// Waits until a window is destroyed.
void WaitUntilGone(HWND window, Milliseconds timeout = kWindowTimeout);

/// Child by control ID.
HWND Child(HWND window, int id);
std::wstring ClassName(HWND window);
std::wstring Text(HWND window);
void SetText(HWND window, const std::wstring& text);
bool IsEnabled(HWND window);
DWORD Style(HWND window);
DWORD ExStyle(HWND window);
/// Outer rectangle of a child in client coordinates of its parent.
RECT RectInParent(HWND child);
SIZE ClientSize(HWND window);
/// Outer rectangle on the screen.
RECT ScreenRect(HWND window);
/// How a window stands on the screen: "usual", "large" (maximised), "small" (minimised) or "gone".
std::string Look(HWND window);
/// Asks for an outer size; the window's own minimum still applies.
void Resize(HWND window, int width, int height);
/// Sends a message and returns the answer; for messages whose parameters are plain numbers.
LRESULT Send(HWND window, UINT message, WPARAM wParam = 0, LPARAM lParam = 0,
             Milliseconds timeout = kAnswerTimeout);
/// Waits until a window's thread has acted upon the input that waits for it: its answers come between one
/// message of its queue and the next.
void WaitUntilInputIsTaken(HWND window);
/// Asks a window to close, without waiting.
void Close(HWND window);

/// Presses a button and waits until its action is done or shows a message box.
void Press(HWND button, Milliseconds timeout = kAnswerTimeout);
/// Presses a button without waiting: for actions that open a message box.
void PressWithoutWaiting(HWND button);

// ---- Combo boxes ------------------------------------------------------------------------------------------

std::vector<std::wstring> ComboItems(HWND combo);
/// Index of the chosen item, or -1.
int ComboSelection(HWND combo);
/// Chooses an item and notifies the parent, as the drop-down list does.
void ChooseComboItem(HWND combo, int index);

// ---- List views -------------------------------------------------------------------------------------------

struct ListColumn {
    std::wstring title;
    int width = 0;
};

std::vector<ListColumn> ListColumns(HWND list);
int ListRowCount(HWND list);
/// All rows, each with one text per column; at most 1023 characters of each.
std::vector<std::vector<std::wstring>> ListRows(HWND list);
/// Selects and focuses one row; its owner is notified as for a click.
void SelectListRow(HWND list, int row);

// ---- Message boxes ----------------------------------------------------------------------------------------

struct MessageBoxButton {
    int id = 0;  ///< IDOK, IDYES, IDNO, ...
    std::wstring text;
};

struct MessageBoxView {
    HWND window = nullptr;
    std::wstring title;
    std::wstring text;
    std::vector<MessageBoxButton> buttons;  ///< from left to right
    int defaultButton = 0;                  ///< the ID that Enter answers with
    bool hasIcon = false;
    HWND icon = nullptr;
};

MessageBoxView WaitForMessageBox(HWND owner, Milliseconds timeout = kWindowTimeout);
/// Presses one of its buttons and waits until the box is gone.
void Answer(const MessageBoxView& box, int buttonId);
/// As long as somebody takes at least to read a box that has just come up: longer than the system's
/// double-click time, in which the program takes no input for it.
Milliseconds ReadingTime();
void ReadBox();
/// Reads the box, then presses a key in it (VK_RETURN, VK_ESCAPE). @return whether the box went away: Windows
/// ignores Escape and the close box where there is no Cancel button, Wine does not.
bool AnswerByKey(const MessageBoxView& box, WORD virtualKey, Milliseconds timeout = Milliseconds{3'000});
/// Asks the box to close, as its close box does. @return whether it went away
bool AnswerByCloseBox(const MessageBoxView& box, Milliseconds timeout = Milliseconds{3'000});

// ---- Mouse and keyboard -----------------------------------------------------------------------------------

/// Brings a window to the front, so that input events reach it.
void BringToFront(HWND window);
/// The window's answer to WM_NCHITTEST for a point of its client area (HTCAPTION, HTCLIENT, ...).
LRESULT HitTest(HWND window, int x, int y);
/// A real click at a point of the window's client area; the window is brought to the front first.
/// It returns when the system has the events, which may be before the window acts on them: use WaitUntil.
void Click(HWND window, int x, int y);
/// A key pressed and released in whatever window has the keyboard, while the others are held down.
void TapKey(WORD virtualKey, std::initializer_list<WORD> held = {});

// The same without asking or moving a window: also while a program's thread is busy.

/// The middle of a window on the screen.
POINT Middle(HWND window);
/// Moves the pointer, then presses and releases its main button so many times.
void ClickScreen(POINT point, int times = 1);
/// Moves the pointer there and presses its main button, or releases it.
void PressMouse(POINT point);
void ReleaseMouse(POINT point);
/// Holds a key down for so long; it repeats as on a keyboard and stays down.
void HoldKey(WORD virtualKey, Milliseconds time);
void ReleaseKey(WORD virtualKey);

// ---- What a person sees while a window's thread is busy and answers nothing -------------------------------

/// Text of a control, at most 1023 characters, without asking its thread.
std::wstring ShownText(HWND control);
/// The mouse pointer's shape: equal values are equal shapes of one program.
HCURSOR Cursor();
/// What the screen shows where a window stands, four bytes (blue, green, red, nothing) for each pixel.
std::string Pixels(HWND window);
/// Positive when it shows more yellow than blue, as the system's warning icon does; negative when it shows
/// more blue, as the information does; 0 while neither is drawn.
int Yellowness(HWND window);

/// Whether these bytes stand somewhere in a process's private memory.
bool IsInMemory(HANDLE process, std::string_view bytes);

}  // namespace desk
