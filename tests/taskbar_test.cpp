#include "support/own_windows.h"
#include "support/replaced_functions.h"

TEST_CASE("the taskbar button shows what runs how far it is what has failed and the end of long work") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const MergeFixture zones;
    Desk zone;
    zone.StartZone(L"一区", ZoneJson("青龙一区", zones.A()));
    ReplacedTaskbar taskbar;
    const Windows windows(L"folder", "");
    taskbar.button = windows.query;
    const auto check = [&](int id, const std::wstring& expected) {
        CAPTURE(id);
        desk::Press(windows.Child(id));
        CHECK(std::exchange(taskbar.told, L"") == expected);
    };
    check(kSaveButton, L"");  // nor has the refresh before shown anything
    windows.SetText(kKeywordEdit, L"zh");
    check(kQueryButton, L"asked runs rests ");
    windows.SetText(kTableEdit, L"none"), windows.SetText(kFieldEdit, L"none");
    check(kQueryButton, L"runs red ");
    check(kRefreshButton, L"rests ");
    check(kDetectButton, L"runs red ");  // one database alone
    windows.SetText(kDatabaseBEdit, zones.B());
    check(kDetectButton, L"runs rests ");
    desk::SelectListRow(windows.Child(kRoleList), 1);
    desk::ChooseComboItem(windows.Child(kTargetCombo), 1);
    check(kAnalyzeButton, L"runs rests ");
    check(kRepairButton, L"runs rests box ");
    check(kRepairAllButton, L"runs 5 rests box ");
    taskbar.answer = IDYES;
    check(kRepairButton, L"runs rests box runs 25 rests box runs rests ");
    Faults("connect\t3+\tHY000\t1\tx\n"),  // of the detection behind the repair
        check(kRepairAllButton, L"runs 4 rests box runs 20 rests box runs red ");
    for (const auto& [other, milliseconds, expected] : {std::tuple(GetDesktopWindow(), 5000u, L"runs rests "),
                                                        {GetDesktopWindow(), 5001u, L"runs rests flashes "},
                                                        {windows.repair, 5001u, L"runs rests "}})
        taskbar.front = other, taskbar.step = milliseconds, check(kDetectButton, expected);
    windows.SetText(kPortEdit, L"");
    check(kDetectButton, L"runs red ");
    DestroyWindow(windows.repair);
    CHECK(std::exchange(taskbar.told, L"") == L"rests ");
    for (const HRESULT creation : {S_OK, E_FAIL}) {  // no taskbar
        taskbar.created = creation, taskbar.begun = E_FAIL;
        TaskbarProgress none;
        for (int i = 0; i < 2; ++i) none.Start(taskbar.button), none.Measure(1, 2), none.Fail(), none.Clear();
        CHECK((std::exchange(taskbar.told, L"") == L"asked flashes flashes " &&
               taskbar.holders == 3));  // two of them the windows'
    }
}
