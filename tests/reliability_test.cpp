#include "support/desk_fixture.h"

namespace {

constexpr const char* kDown = "connect\t*\t08001\t17\t断开\n";
constexpr const char* kRefused = "connect\t*\t28000\t18456\t断开\n";

std::string Utf16Bytes(const std::wstring& text) {
    return {reinterpret_cast<const char*>(text.c_str()), text.size() * sizeof(wchar_t)};
}

bool IsInMemory(HANDLE process, const std::wstring& text) {
    MEMORY_BASIC_INFORMATION region = {};
    while (VirtualQueryEx(process, static_cast<char*>(region.BaseAddress) + region.RegionSize, &region,
                          sizeof region) != 0) {
        if (region.State != MEM_COMMIT || region.Type != MEM_PRIVATE) continue;
        std::string memory(region.RegionSize, '\0');
        ReadProcessMemory(process, region.BaseAddress, memory.data(), memory.size(), nullptr);
        if (memory.find(Utf16Bytes(text)) != memory.npos) return true;
    }
    return false;
}

// The password may stand in the masked box, in the game server's own file and nowhere else that can be seen.
void CheckAfterwards(const RepairDesk& story) {
    CHECK((LiveHandles() == 0 && OpenConnections() == 0));
    const std::wstring& password = Server().password;
    for (const HWND window : {story.desk.window, story.window}) {
        for (HWND child = nullptr; (child = FindWindowExW(window, child, nullptr, nullptr)) != nullptr;)
            if (GetDlgCtrlID(child) != kPasswordEdit)
                CHECK(desk::Text(child).find(password) == password.npos);
    }
    for (const auto& entry : std::filesystem::recursive_directory_iterator(story.desk.folder.At(L""))) {
        if (!entry.is_regular_file() || entry.path().filename() == L"Config.Json") continue;
        const std::string bytes = ReadWholeFile(entry.path().wstring());
        for (const std::string& form : {WideToUtf8(password), Utf16Bytes(password)})
            CHECK(bytes.find(form) == bytes.npos);
    }
    // Quoted as in a connection string; the search sees the zone's copy, so it would see this one.
    const HANDLE tool = story.desk.tool->Process();
    CHECK(IsInMemory(tool, password));
    CHECK_FALSE(IsInMemory(tool, L"PWD={" + password.substr(0, 4)));
}

}  // namespace

TEST_CASE("data and windows are as before when the server goes away or the program is killed") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const RepairDesk story;
    const AllContents before = story.zones.Contents();
    story.DetectAndSelect();
    story.Press(kAnalyzeButton);
    const HWND query = story.desk.Child(kQueryButton), refresh = story.desk.Child(kRefreshButton);
    const std::wstring dead = L"08S01: 断开", server = L"SQL Server 连接失败：";
    const std::wstring by = L": [Microsoft][ODBC Driver 18 for SQL Server]";
    const std::wstring lost = L"08S01" + by + L"TCP Provider: Connection reset by peer. | 08S01" + by +
                              L"Communication link failure";
    const std::wstring keyword = L" | 01S00: [Microsoft][SQL Server]Invalid connection string attribute";
    const std::wstring down = server + L"SQL Server：08001: 断开" + keyword, none = L"查询失败：";
    const std::wstring one = L"修复失败，已尝试回滚：", all = L"批量修复失败，已尝试回滚：";
    // The fault comes before the button is pressed, or between the question and its answer.
    for (const auto& [button, asks, faults, status] :
         {std::tuple(int{kQueryButton}, false, kDown, none + server + L"08001: 断开" + keyword),
          {kQueryButton, false, kRefused, none + server + L"28000: 断开" + keyword},
          {kQueryButton, false, "die\tfetch\t'.COLUMNS'\t2\t08S01\t1\t断开\n", none + dead},
          {kQueryButton, false, "",
           L"查询完成，匹配到 2 个账号；自动识别：dbo.TBL_CHARACTER.FLD_ACCOUNT；中间两位已隐藏。"},
          {kDetectButton, false, kDown, L"检测失败：" + down},
          {kDetectButton, false, "die\tfetch\t'TBL_GUILD_INFO'\t2\t08S01\t1\t断开\n", L"检测失败：" + dead},
          {kAnalyzeButton, false, "die\texecute\t'.COLUMNS'\t1\t08S01\t1\t断开\n", L"分析失败：" + dead},
          {kRepairButton, false, kRefused, one + server + L"SQL Server：28000: 断开" + keyword},
          {kRepairButton, true, kDown, one + down},
          {kRepairButton, true, "die\texecute\t'[TBL_BAG] WHERE'\t2\n", one + lost},
          {kRepairAllButton, false, "die\tfetch\t'.COLUMNS'\t2\t08S01\t1\t断开\n", all + dead},
          {kRepairAllButton, true, kDown, all + down},
          {kRepairAllButton, true, "die\texecute\t'[TBL_MEMBER] WHERE'\t2\t08S01\t1\t断开\n", all + dead},
          {kRepairAllButton, true, "commit\t1\tHY000\t1\tx\n", all + L"统一角色/行会修复事务提交失败"},
          {kDetectButton, false, "",
           L"分析完成：重复角色 3 个，重复行会 2 个。默认未修改数据库。请选择目标库后可批量修复。"}}) {
        const auto question = asks ? story.PressForBox(button) : desk::MessageBoxView();
        const Faults injected(faults);
        if (button == kQueryButton) {
            story.desk.Query(L"zh");
            CHECK(story.desk.Status() == status);
        } else {
            asks ? desk::Answer(question, IDYES) : story.Press(button);
            story.WaitForStatus(status);
        }
        CHECK((story.Off().empty() && desk::IsEnabled(query) && desk::IsEnabled(refresh)));
        CheckAfterwards(story);
    }
    CHECK(story.zones.Contents() == before);
    const desk::MessageBoxView question = story.PressForBox(kRepairAllButton);
    const Faults faults("slow\tcommit\t1\t60000\n");
    const Trace trace;
    desk::Answer(question, IDYES);
    desk::WaitUntil("an update", [&] { return trace.Told().find(L"execute UPDATE") != std::wstring::npos; });
    story.desk.tool->Kill();
    CHECK(story.zones.Contents() == before);
}
