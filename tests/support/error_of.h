#pragma once

#include <string>

#include "text/text.h"

/// The text of the error that an action throws; "(nothing)" when it throws none.
template <class Action>
std::wstring ErrorOf(Action action) {
    try {
        action();
    } catch (const RuntimeError& error) {
        return Utf8ToWide(error.what());
    }
    return L"(nothing)";
}
