#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>
#include <iostream>

#include "text/text.h"

int wmain(int count, wchar_t** arguments) {
    std::string filter = count > 1 ? WideToUtf8(arguments[1]) : "--no-version";
    std::cout << std::unitbuf;  // what a process that crashes or is killed has said before
    char* texts[] = {filter.data(), filter.data()};
    return doctest::Context(2, texts).run();
}
