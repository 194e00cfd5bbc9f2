#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>
#include <windows.h>

#include <iostream>

#include "text/text.h"

int wmain(int count, wchar_t** arguments) {
    // Wine's desktop is a process that ends a second after its last user. A test that had to start it anew
    // would leave its output in there, and whoever reads that waits for the second, too.
    GetDesktopWindow();
    std::string filter = count > 1 ? WideToUtf8(arguments[1]) : "--no-version";
    std::cout << std::unitbuf;  // what a process that crashes or is killed has said before
    char* texts[] = {filter.data(), filter.data()};
    return doctest::Context(2, texts).run();
}
