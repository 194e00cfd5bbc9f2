#include "support/desk_fixture.h"

static constexpr const char* kDown = "connect\t*\t08001\t17\t断开\n";
static constexpr const char* kRefused = "connect\t*\t28000\t18456\t断开\n";

static std::string Utf16Bytes(const std::wstring& text) {
    return {reinterpret_cast<const char*>(text.c_str()), text.size() * sizeof(wchar_t)};
}

// Where the password can be seen beside the masked box and the game server's own file.
static std::wstring PlacesOfPassword(const RepairDesk& story) {
    std::wstring places;
    const std::wstring& password = Server().password;
    for (const HWND window : {story.desk.window, story.window})
        for (HWND child = nullptr; (child = FindWindowExW(window, child, nullptr, nullptr)) != nullptr;) {
            const int id = GetDlgCtrlID(child);
            if (id == kPasswordEdit || desk::Text(child).find(password) == password.npos) continue;
            places += L"control " + std::to_wstring(id) + L" ";
        }
    for (const auto& entry : std::filesystem::recursive_directory_iterator(story.desk.folder.At(L""))) {
        if (!entry.is_regular_file() || entry.path().filename() == L"Config.Json") continue;
        const std::string bytes = ReadWholeFile(InputFile(entry.path().wstring()));
        for (const std::string& form : {WideToUtf8(password), Utf16Bytes(password)})
            if (bytes.find(form) != bytes.npos) places += entry.path().wstring() + L" ";
    }
    const HANDLE tool = story.desk.tool->Process();
    // The zone's copy is there: the search would see one in a connection string.
    CHECK(desk::IsInMemory(tool, Utf16Bytes(password)));
    if (desk::IsInMemory(tool, Utf16Bytes(L"PWD={" + password.substr(0, 4)))) places += L"memory";
    return places;
}

enum class When { BeforeThePress, OverTheQuestion };

struct Row {
    const char* name;
    int button;
    When when;
    const char* faults;
    std::wstring status;
};

static std::vector<Row> Rows() {
    using enum When;
    const std::wstring dead = L"08S01: 断开", none = L"查询失败：",
                       found = L"查询完成，匹配到 2 个账号；自动识别：", one = L"修复失败，已尝试回滚：",
                       all = L"批量修复失败，已尝试回滚：", server = L"SQL Server 连接失败：",
                       last = server + L"SQL Server：",
                       keyword = L" | 01S00: [Microsoft][SQL Server]Invalid connection string attribute",
                       down = L"08001: 断开" + keyword, refused = L"28000: 断开" + keyword,
                       by = L"08S01: [Microsoft][ODBC Driver 18 for SQL Server]",
                       lost = by + L"TCP Provider: Connection reset by peer. | " + by +
                              L"Communication link failure";
    return {{"query, down", kQueryButton, BeforeThePress, kDown, none + server + down},
            {"query, refused", kQueryButton, BeforeThePress, kRefused, none + server + refused},
            {"query, lost between two rows", kQueryButton, BeforeThePress,
             "die\tfetch\t'.COLUMNS'\t2\t08S01\t1\t断开\n", none + dead},
            {"query, up again", kQueryButton, BeforeThePress, "",
             found + L"dbo.TBL_CHARACTER.FLD_ACCOUNT；中间两位已隐藏。"},
            {"detection, down", kDetectButton, BeforeThePress, kDown, L"检测失败：" + last + down},
            {"detection, lost among the guilds", kDetectButton, BeforeThePress,
             "die\tfetch\t'TBL_GUILD_INFO'\t2\t08S01\t1\t断开\n", L"检测失败：" + dead},
            {"analysis, lost at the columns", kAnalyzeButton, BeforeThePress,
             "die\texecute\t'.COLUMNS'\t1\t08S01\t1\t断开\n", L"分析失败：" + dead},
            {"repair, refused", kRepairButton, BeforeThePress, kRefused, one + last + refused},
            {"repair, down meanwhile", kRepairButton, OverTheQuestion, kDown, one + last + down},
            {"repair, lost in the verification", kRepairButton, OverTheQuestion,
             "die\texecute\t'[TBL_BAG] WHERE'\t2\n", one + lost},
            {"batch, lost in the plan", kRepairAllButton, BeforeThePress,
             "die\tfetch\t'.COLUMNS'\t2\t08S01\t1\t断开\n", all + dead},
            {"batch, down meanwhile", kRepairAllButton, OverTheQuestion, kDown, all + last + down},
            {"batch, lost in the verification", kRepairAllButton, OverTheQuestion,
             "die\texecute\t'[TBL_MEMBER] WHERE'\t2\t08S01\t1\t断开\n", all + dead},
            {"batch, not committed", kRepairAllButton, OverTheQuestion, "commit\t1\tHY000\t1\tx\n",
             all + L"统一角色/行会修复事务提交失败"},
            {"detection, up again", kDetectButton, BeforeThePress, "",
             Detected(kDuplicateRoles, kDuplicateGuilds)}};
}

TEST_CASE("an action that fails tells why and leaves data windows handles and password as they were") {
    const RepairDesk story;
    const Content before = story.zones.Contents();
    story.DetectAndSelect();
    for (const Row& row : Table(Rows())) {
        const auto question =
            row.when == When::OverTheQuestion ? story.PressForBox(row.button) : desk::MessageBoxView();
        const Faults faults(row.faults);
        if (row.when == When::OverTheQuestion) {
            desk::Answer(question, IDYES);
            story.WaitForStatus(row.status);
        } else if (row.button == kQueryButton) {
            story.desk.Query(L"zh");
            CHECK(story.desk.Status() == row.status);
        } else {
            story.Press(row.button);
            CHECK(story.Status() == row.status);
        }
        CHECK(story.Off() == L"");
        CHECK(desk::IsEnabled(story.desk.Child(kQueryButton)));
        CHECK(desk::IsEnabled(story.desk.Child(kRefreshButton)));
        CHECK(Alive() == L"");
        CHECK(PlacesOfPassword(story) == L"");
    }
    CHECK(story.zones.ChangeSince(before) == L"");
}

TEST_CASE("a program that is killed inside its transaction leaves the data as they were") {
    const RepairDesk story;
    const Content before = story.zones.Contents();
    story.DetectAndSelect();
    const desk::MessageBoxView question = story.PressForBox(kRepairAllButton);
    const Faults slow("slow\tcommit\t1\t60000\n");
    const Trace trace;
    desk::Answer(question, IDYES);
    desk::WaitUntil("an update", [&] { return trace.Told().find(L"execute UPDATE") != std::wstring::npos; });
    story.desk.tool->Kill();
    CHECK(story.zones.ChangeSince(before) == L"");
}
