#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "text/text.h"

namespace {

// Learns how many cases a filter has left over, which the run's result does not tell.
struct CountingReporter : doctest::ConsoleReporter {
    using ConsoleReporter::ConsoleReporter;
    void test_run_end(const doctest::TestRunStats& run) override {
        ConsoleReporter::test_run_end(run);
        noCaseChosen = run.numTestCasesPassingFilters == 0;
    }
    static inline bool noCaseChosen = false;
};
REGISTER_REPORTER("counting", 0, CountingReporter);

}  // namespace

int wmain(int count, wchar_t** arguments) {
    std::vector<std::string> texts;
    for (int i = 0; i < count; ++i) texts.push_back(WideToUtf8(arguments[i]));
    std::vector<const char*> pointers;
    for (const std::string& text : texts) pointers.push_back(text.c_str());
    doctest::Context context;
    context.setOption("reporters", "counting");
    context.applyCommandLine(count, pointers.data());
    const int result = context.run();
    if (!CountingReporter::noCaseChosen) return result;
    std::fputs("no test case has this name\n", stderr);
    return 1;
}
