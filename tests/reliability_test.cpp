#include "db/odbc_statement.h"
#include "support/desk_fixture.h"

// after windows.h, which it needs
#include <winternl.h>

namespace {

constexpr const char* kDown = "connect\t*\t08001\t17\t断开\n";
constexpr const char* kRefused = "connect\t*\t28000\t18456\t断开\n";

HANDLE Open(DWORD processId) {
    return OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, processId);  // until the test ends
}

std::string Read(HANDLE process, const void* at, size_t size) {
    std::string bytes(size, '\0');
    SIZE_T read = 0;
    ReadProcessMemory(process, at, bytes.data(), size, &read);
    return bytes.substr(0, read);
}

// The memory that belongs to a process alone.
std::vector<MEMORY_BASIC_INFORMATION> PrivateRegions(HANDLE process) {
    std::vector<MEMORY_BASIC_INFORMATION> regions;
    MEMORY_BASIC_INFORMATION region = {};
    while (VirtualQueryEx(process, static_cast<char*>(region.BaseAddress) + region.RegionSize, &region,
                          sizeof region) != 0) {
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE) regions.push_back(region);
    }
    return regions;
}

// How much of it a process gains while an action runs so often, in bytes; what is made once and kept has been
// made in rounds before, which do not count.
template <class Action>
long long Growth(HANDLE process, int rounds, Action action) {
    long long gained = 0;
    for (int i = -rounds / 5; i < rounds; ++i) {
        if (i == 0)
            for (const auto& region : PrivateRegions(process)) gained -= region.RegionSize;
        action();
    }
    for (const auto& region : PrivateRegions(process)) gained += region.RegionSize;
    return gained;
}

// Fonts, pens, brushes, bitmaps and device contexts.
size_t GdiObjects(HANDLE process) {
    if (const DWORD counted = GetGuiResources(process, GR_GDIOBJECTS)) return counted;
    // Wine does not count them, but keeps each process's handle table where Windows has it: entries of 24
    // bytes with the kind of object, zero for a free entry, in the fifteenth.
    constexpr size_t kEntry = 24, kKind = 14, kEntries = 0x4000, kTable = 0xF8;
    PROCESS_BASIC_INFORMATION basic = {};
    NtQueryInformationProcess(process, ProcessBasicInformation, &basic, sizeof basic, nullptr);
    const char* block = reinterpret_cast<const char*>(basic.PebBaseAddress);
    const std::string pointer = Read(process, block + kTable, sizeof(void*));
    const std::string entries =
        Read(process, *reinterpret_cast<void* const*>(pointer.data()), kEntry * kEntries);
    size_t objects = 0;
    for (size_t i = kKind; i < entries.size(); i += kEntry) objects += entries[i] != 0;
    return objects;
}

std::string Utf16Bytes(const std::wstring& text) {
    return {reinterpret_cast<const char*>(text.c_str()), text.size() * sizeof(wchar_t)};
}

bool IsInMemory(HANDLE process, const std::wstring& text) {
    for (const auto& region : PrivateRegions(process)) {
        const std::string memory = Read(process, region.BaseAddress, region.RegionSize);
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
    const HANDLE tool = Open(story.desk.tool->Id());
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
          {kQueryButton, false, "die\tfetch\t2\t08S01\t1\t断开\n", none + dead},
          {kQueryButton, false, "",
           L"查询完成，匹配到 2 个账号；自动识别：dbo.TBL_CHARACTER.FLD_ACCOUNT；中间两位已隐藏。"},
          {kDetectButton, false, kDown, L"检测失败：" + down},
          {kDetectButton, false, "die\tfetch\t5\t08S01\t1\t断开\n", L"检测失败：" + dead},
          {kAnalyzeButton, false, "die\texecute\t3\t08S01\t1\t断开\n", L"分析失败：" + dead},
          {kRepairButton, false, kRefused, one + server + L"SQL Server：28000: 断开" + keyword},
          {kRepairButton, true, kDown, one + down},
          {kRepairButton, true, "die\texecute\t20\n", one + lost},
          {kRepairAllButton, false, "die\tfetch\t9\t08S01\t1\t断开\n", all + dead},
          {kRepairAllButton, true, kDown, all + down},
          {kRepairAllButton, true, "die\texecute\t40\t08S01\t1\t断开\n", all + dead},
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

TEST_CASE("windows repaints and queries leave memory flat and no drawing object behind") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const RepairDesk story;
    const Desk& desk = story.desk;
    const HANDLE tool = Open(desk.tool->Id());
    desk::Send(story.window, WM_CLOSE);
    const auto openAndRepaint = [&] {
        desk::Send(desk.OpenRepairTool(), WM_CLOSE);
        for (int i = 0; i < 10; ++i)
            RedrawWindow(desk.window, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
    };
    // As many connections and statements without the tool: the driver manager may keep memory of each.
    const auto bare = [&] {
        const OdbcSession session = Connect(story.zones.A());
        for (int i = 0; i < 4; ++i)
            QueryInt64(session.Connection(), L"SELECT COUNT_BIG(*) FROM sys.databases");
    };
    openAndRepaint();
    const size_t objects = GdiObjects(tool);
    REQUIRE(objects > 0);
    CHECK(Growth(tool, 150, [&] { desk.Query(L"zh"); }) <=
          Growth(GetCurrentProcess(), 150, bare) + 128 * 1024);
    CHECK(desk.Status().starts_with(L"查询完成，匹配到 2 个账号"));
    CHECK(Growth(tool, 30, openAndRepaint) <= 128 * 1024);
    CHECK(GdiObjects(tool) < objects + 20);
}
