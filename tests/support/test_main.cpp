#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>

#include "text/text.h"

int wmain(int count, wchar_t** arguments) {
    std::string filter = count > 1 ? WideToUtf8(arguments[1]) : "--no-version";
    char* texts[] = {filter.data(), filter.data()};
    return doctest::Context(2, texts).run();
}
