#pragma once

#include <windows.h>

// Mouse and keyboard input that is made while the thread works waits in its queue, and its receiver is looked
// for when it is taken out: a click on a button that was disabled starts it afterwards, a key answers a
// question that nobody has seen. These two functions let such input reach nothing. Whatever is not input
// keeps its effect: what others send and post, the end of the session, WM_QUIT.
//
// They go by the time at which an input was made and leave the queue as it is. For the one thread of the
// windows.

/// Input made up to now reaches nothing any more, in none of the thread's windows; neither does the rest of
/// what began before, the repeats of a key that is held and the release of the mouse's main button. To be
/// called at the end of work. Makes no call that processes messages.
void DropInputSoFar() noexcept;

/// MessageBoxW that is answered only by input made after the box has been on show for the system's
/// double-click time (half a second, usually): the second press of a double click does not answer it either.
/// @return as MessageBoxW; 0 without a box when the system is short of resources.
int ShowMessageBox(HWND owner, const wchar_t* text, const wchar_t* title, UINT flags) noexcept;
