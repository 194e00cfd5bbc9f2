#include "support/own_windows.h"
#include "support/replaced_functions.h"

// The program's windows beside a zone, and what their actions ask the taskbar for.
struct TaskbarDesk {
    ReplacedTaskbar taskbar;
    WindowsOfAZone zone;
    const Windows& windows = *zone.windows;

    TaskbarDesk() {
        taskbar.button = windows.query;
        windows.SetText(kKeywordEdit, L"zh");
        windows.SetText(kDatabaseBEdit, zone.zones.B());
    }
    std::wstring ToldBy(int button) {
        desk::Press(windows.Child(button));
        return Told();
    }
    std::wstring Told() { return std::exchange(taskbar.told, L""); }
};

// Work that is measured, before a question or a notice.
static std::wstring Runs(size_t steps) {
    return Format(L"runs {} rests box ", steps);
}

TEST_CASE("the taskbar is asked for with the first work and shows red from a failure to the next action") {
    TaskbarDesk story;
    CHECK(story.ToldBy(kSaveButton) == L"");  // nor has the refresh before shown anything
    CHECK(story.ToldBy(kQueryButton) == L"asked runs rests ");
    story.windows.SetText(kTableEdit, L"none");
    story.windows.SetText(kFieldEdit, L"none");
    CHECK(story.ToldBy(kQueryButton) == L"runs red ");
    CHECK(story.ToldBy(kRefreshButton) == L"rests ");
    story.windows.SetText(kPortEdit, L"");
    CHECK(story.ToldBy(kDetectButton) == L"runs red ");
    DestroyWindow(story.windows.repair);
    CHECK(story.Told() == L"rests ");
}

TEST_CASE("a repair shows how far its plan and its statements are") {
    TaskbarDesk story;
    CHECK(story.ToldBy(kDetectButton) == L"asked runs rests ");
    desk::SelectListRow(story.windows.Child(kRoleList), 1);
    desk::ChooseComboItem(story.windows.Child(kTargetCombo), 1);
    CHECK(story.ToldBy(kAnalyzeButton) == L"runs rests ");
    CHECK(story.ToldBy(kRepairButton) == L"runs rests box ");  // answered No
    CHECK(story.ToldBy(kRepairAllButton) == Runs(kDuplicates));
    story.taskbar.answer = IDYES;
    CHECK(story.ToldBy(kRepairButton) ==
          L"runs rests box " + Runs(RoleStatements(kRole1001.columns)) + L"runs rests ");
    constexpr size_t left = kDuplicates - 1;  // in the first zone: an ID stands in one column there
    const Faults secondDetection("connect\t3+\tHY000\t1\tx\n");
    CHECK(story.ToldBy(kRepairAllButton) == Runs(left) + Runs(BatchStatements(left, left)) + L"runs red ");
}

TEST_CASE("the button flashes at the end of long work when another program is in front") {
    TaskbarDesk story;
    story.ToldBy(kDetectButton);
    for (const auto& [name, front, milliseconds, told] :
         Table({std::tuple("five seconds", GetDesktopWindow(), 5000u, L"runs rests "),
                {"longer", GetDesktopWindow(), 5001u, L"runs rests flashes "},
                {"longer, a window of ours in front", story.windows.repair, 5001u, L"runs rests "}})) {
        story.taskbar.front = front;
        story.taskbar.step = milliseconds;
        CHECK(story.ToldBy(kDetectButton) == told);
    }
}

TEST_CASE("without a taskbar it is asked for once and only the button flashes") {
    for (const HRESULT created : Table{S_OK, E_FAIL}) {
        ReplacedTaskbar taskbar;
        taskbar.created = created;
        taskbar.begun = E_FAIL;
        taskbar.step = 5001;
        taskbar.front = GetDesktopWindow();
        {
            TaskbarProgress none;
            for (int i = 0; i < 2; ++i) {
                none.Start(taskbar.button);
                none.Measure(1, 2);
                none.Fail();
                none.Clear();
            }
        }
        CHECK(taskbar.told == L"asked flashes flashes ");
        CHECK(taskbar.holders == 0);
    }
}
