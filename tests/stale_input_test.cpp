#include <optional>

#include "support/desk_fixture.h"

static void Tap(WORD first, WORD second) {
    desk::TapKey(first);
    desk::TapKey(second);
}

static void ClickOn(HWND control) {
    desk::ClickScreen(desk::Middle(control));
}

// The painted glyph at the right end of a window's caption.
static POINT CloseGlyph(HWND window) {
    POINT point = {desk::ClientSize(window).cx - 22, 30};
    ClientToScreen(window, &point);
    return point;
}

static POINT SecondRow(HWND list) {
    const RECT place = desk::ScreenRect(list);
    return {place.left + 40, place.top + 50};
}

// Begins work, and does something else while the server is slow with it.
template <class Begin, class Act>
static void DoDuringWork(const Trace& trace, Begin begin, Act act) {
    const Faults slow("slow\texecute\t*\t100\n");
    begin();
    desk::WaitUntil("the work to begin", [&] { return !trace.Events().empty(); });
    act();
}

// Two zones with a duplicate selected, ready for each action.
struct Ready : RepairDesk {
    Ready() {
        DetectAndSelect();
        desk::BringToFront(window);
    }
};

// The same, and the place where the Yes of a repair's question comes up each time.
struct Question : Ready {
    explicit Question(int id) : button(Child(id)) {
        const desk::MessageBoxView box = PressForBox(id);
        yes = desk::Middle(desk::Child(box.window, IDYES));
        desk::Answer(box, IDNO);
    }
    HWND button;
    POINT yes;
};

// What impatient hands do to a question before it can be read.
struct Impatience {
    const char* name;
    void (*duringThePlan)(POINT yes);
    void (*onShow)(POINT yes);  // as soon as it is
};
static constexpr auto kNothing = [](POINT) {};
static constexpr auto kClick = [](POINT yes) { desk::ClickScreen(yes); };
static constexpr auto kY = [](POINT) { desk::TapKey('Y'); };
static const std::vector<Impatience> kImpatience = {
    {"a click where Yes will be", kClick, kNothing},
    {"a double click there", [](POINT yes) { desk::ClickScreen(yes, 2); }, kNothing},
    {"Y", kY, kNothing},
    {"Alt+Y", [](POINT) { desk::TapKey('Y', {VK_MENU}); }, kNothing},
    {"Left and Enter", [](POINT) { Tap(VK_LEFT, VK_RETURN); }, kNothing},
    {"Tab and Space", [](POINT) { Tap(VK_TAB, VK_SPACE); }, kNothing},
    {"a click on Yes at once", kNothing, kClick},
    {"Y at once", kNothing, kY},
    {"Y held down", [](POINT) { desk::HoldKey('Y', desk::Milliseconds{100}); },
     [](POINT) { desk::HoldKey('Y', desk::ReadingTime()); }},
};

// What they do while an action works, and once it has ended.
struct Meddling {
    const char* name;
    int action;
    void (*during)(const RepairDesk& story, HWND window, HWND button);
    void (*afterwards)(HWND window) = [](HWND) {};
};
static constexpr auto kAgain = [](const RepairDesk&, HWND, HWND button) { ClickOn(button); };
static constexpr auto kClose = [](const RepairDesk&, HWND window, HWND) {
    desk::ClickScreen(CloseGlyph(window));
};
static const std::vector<Meddling> kMeddling = {
    {"detection, clicked again", kDetectButton, kAgain},
    {"analysis, clicked again", kAnalyzeButton, kAgain},
    {"analysis, detection clicked", kAnalyzeButton,
     [](const RepairDesk& story, HWND, HWND) { ClickOn(story.Child(kDetectButton)); }},
    {"repair, clicked again", kRepairButton, kAgain},
    {"batch repair, clicked again", kRepairAllButton, kAgain},
    {"query, clicked again", kQueryButton, kAgain},
    {"query, Enter again", kKeywordEdit, [](const RepairDesk&, HWND, HWND) { desk::TapKey(VK_RETURN); }},
    {"detection, a row of its list clicked", kDetectButton,
     [](const RepairDesk& story, HWND, HWND) { desk::ClickScreen(SecondRow(story.Child(kRoleList))); }},
    {"detection, its window's cross clicked", kDetectButton, kClose},
    {"detection, the cross pressed and then released", kDetectButton,
     [](const RepairDesk&, HWND window, HWND) { desk::PressMouse(CloseGlyph(window)); },
     [](HWND window) { desk::ReleaseMouse(CloseGlyph(window)); }},
    {"detection, Alt+F4", kDetectButton,
     [](const RepairDesk&, HWND, HWND) { desk::TapKey(VK_F4, {VK_MENU}); }},
    {"query, its window's cross clicked", kQueryButton, kClose},
};

// The window that an action belongs to, in front and without the other one above it.
static HWND WindowOf(int action, const RepairDesk& story) {
    if (action >= kServerEdit) return story.window;
    desk::Close(story.window);
    desk::WaitUntilGone(story.window);
    desk::SetText(story.desk.Child(kKeywordEdit), L"zh");
    ClickOn(story.desk.Child(kKeywordEdit));
    return story.desk.window;
}

TEST_CASE("a question is answered only by what is done after it has been on show") {
    for (const auto& [title, id] : Table({std::pair(L"确认修复角色唯一 ID", int{kRepairButton}),
                                          {L"确认批量修复全部重复 ID", kRepairAllButton}})) {
        std::optional<Question> story;
        for (const Impatience& row : Table(kImpatience)) {
            if (!story) story.emplace(id);
            const Content before = story->zones.Contents();
            DoDuringWork(
                Trace(), [&] { ClickOn(story->button); }, [&] { row.duringThePlan(story->yes); });
            const desk::MessageBoxView box = desk::WaitForMessageBox(story->window);
            row.onShow(story->yes);
            desk::WaitUntilInputIsTaken(story->window);
            desk::ReleaseKey('Y');
            CHECK(box.title == title);
            CHECK(story->zones.ChangeSince(before) == L"");
            const bool isOpen = IsWindow(box.window);
            CHECK(isOpen);
            if (!isOpen || box.title != title) {
                story.reset();  // the next row begins anew
                continue;
            }
            desk::Answer(box, IDNO);
            desk::WaitFor("buttons that are off", L"", [&] { return story->Off(); });
        }
    }
}

TEST_CASE("a question and a notice that have been read are answered with mouse and keyboard") {
    const Question story(kRepairButton);
    const auto read = [&](const wchar_t* title) {
        const desk::MessageBoxView box = desk::WaitForMessageBox(story.window);
        CHECK(box.title == title);
        desk::ReadBox();
        return box;
    };
    ClickOn(story.button);
    const desk::MessageBoxView question = read(L"确认修复角色唯一 ID");
    desk::ClickScreen(story.yes, 2);  // the second time too late: the repair has begun
    desk::TapKey(VK_RETURN);
    const desk::MessageBoxView notice = read(L"修复完成");
    CHECK(IsWindow(notice.window) == TRUE);
    desk::TapKey(VK_RETURN);
    story.WaitForStatus(Detected(kDuplicateRoles - 1, kDuplicateGuilds));
}

TEST_CASE("the program ends behind the work during which the taskbar has asked for it") {
    const Ready story;
    DoDuringWork(
        Trace(), [&] { ClickOn(story.Child(kDetectButton)); },
        [&] { PostMessageW(story.desk.window, WM_SYSCOMMAND, SC_CLOSE, 0); });
    CHECK(story.desk.tool->WaitForEnd() == 0);
}

TEST_CASE("what is done while an action works starts nothing afterwards") {
    const auto check = [](const Meddling& row) {
        const Ready story;
        const HWND window = WindowOf(row.action, story), button = desk::Child(window, row.action);
        const HWND line =
            desk::Child(window, window == story.window ? int{kRepairStatus} : int{kQueryStatus});
        const Trace trace;
        DoDuringWork(
            trace, [&] { row.action == kKeywordEdit ? desk::TapKey(VK_RETURN) : ClickOn(button); },
            [&] { row.during(story, window, button); });
        if (row.action == kRepairButton || row.action == kRepairAllButton)
            desk::Answer(desk::WaitForMessageBox(window), IDNO);
        std::wstring end;
        desk::WaitUntil("the end", [&] {
            end = desk::Text(line);
            return end.starts_with(L"分析完成：") || end.starts_with(L"目标库关联字段") ||
                   end.starts_with(L"查询完成，") || end.starts_with(L"已取消");
        });
        row.afterwards(window);
        desk::WaitUntilInputIsTaken(window);
        CHECK(desk::Text(line) == end);
        std::vector<std::wstring> begun = trace.Events();
        std::erase_if(begun, [](const std::wstring& event) { return !event.starts_with(L"connect "); });
        CHECK(begun.size() == 1);
    };
    for (const Meddling& row : Table(kMeddling)) CHECK_NOTHROW(check(row));  // a window that is gone
}
