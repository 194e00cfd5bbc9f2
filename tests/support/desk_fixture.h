#pragma once

#include <iomanip>
#include <memory>
#include <sstream>

#include "account_query/query_layout.h"
#include "discovery/files.h"
#include "id_repair/repair_layout.h"
#include "support/merge_fixture.h"
#include "support/temp_directory.h"
#include "support/wide_text.h"
#include "window_driver.h"

/// The Config.Json of a zone on the test server.
inline std::string ZoneJson(const char* utf8Name, const std::wstring& database) {
    const auto& [host, port, user, password, folder] = Server();
    std::ostringstream json;
    json << "{\"DBInfo\": {\"sDBIpAddr\": " << std::quoted(WideToUtf8(host)) << ", \"nDBPort\": " << port
         << ", \"sDBName\": " << std::quoted(WideToUtf8(database))
         << ", \"sDBUser\": " << std::quoted(WideToUtf8(user))
         << ", \"sDBPsw\": " << std::quoted(WideToUtf8(password)) << "}, \"ServerInfo\": {\"sServerName\": \""
         << utf8Name << "\", \"nServerID\": 7}}";
    return json.str();
}

/// The name in the Config.ini of every zone.
inline const std::wstring kNameInIni = L"ini";

/// Lines for Faults under which every step of an action takes long enough to be seen.
inline constexpr char kSlowServer[] = "slow\tconnect\t*\t300\nslow\texecute\t*\t300\nslow\tfetch\t*\t300\n";

/// Clicks on a window's banner, so that the pointer is there. @return the arrow, as the program shows it
inline HCURSOR ClickForArrow(HWND window) {
    desk::Click(window, 600, 110);
    // The pointer's own messages may come later; this one has been acted upon.
    desk::Send(window, WM_SETCURSOR, reinterpret_cast<WPARAM>(window), MAKELPARAM(HTCLIENT, WM_MOUSEMOVE));
    return desk::Cursor();
}

/// The real program in a folder of its own, beside game servers that really run. Everything ends with it.
struct Desk {
    TempDirectory folder;
    std::vector<std::unique_ptr<desk::Program>> servers;
    std::unique_ptr<desk::Program> tool;
    HWND window = nullptr;
    const std::wstring settings = folder.At(L"QuerySettings.ini");

    ~Desk() {
        tool.reset();
        ForgetHandles();
    }
    /// Lays out an installation below the folder and starts its game server: `name`\Mir200\M2Server.exe.
    void StartZone(const std::wstring& name, const std::string& json) {
        const std::wstring server = folder.At(name + L"\\Mir200\\M2Server.exe");
        folder.Make(name + L"\\Mir200");
        folder.Write(name + L"\\Config.Json", json);
        folder.Write(name + L"\\Config.ini", "[Config]\r\nGameName=" + WideToUtf8(kNameInIni) + "\r\n");
        std::filesystem::copy_file(Built(L"demo\\M2Server.exe"), server);
        servers.push_back(std::make_unique<desk::Program>(server));
    }
    /// Starts the program and waits for its filled window.
    void StartTool(int showCommand = SW_SHOWNORMAL) {
        const std::wstring path = folder.At(L"MergeAccountQuery.exe");
        std::filesystem::copy_file(ProgramToStart(), path);
        tool = std::make_unique<desk::Program>(path, folder.At(L""), showCommand);
        window = desk::WaitForTopWindow(tool->Id(), L"MergeAccountQueryWindow");
    }
    HWND Child(int id) const { return desk::Child(window, id); }
    std::wstring Status() const { return desk::Text(Child(kQueryStatus)); }
    /// Types a keyword and presses the query button.
    void Query(const std::wstring& keyword) const {
        desk::SetText(Child(kQueryStatus), L"");
        desk::SetText(Child(kKeywordEdit), keyword);
        desk::Press(Child(kQueryButton));
    }
    HWND OpenRepairTool() const {
        desk::Press(Child(kRepairToolButton));
        return desk::WaitForTopWindow(desk::ProcessOf(window), L"RoleIdRepairWindow");
    }
};

/// What a detection tells.
inline std::wstring Detected(size_t roles, size_t guilds) {
    return Format(L"分析完成：重复角色 {} 个，重复行会 {} 个。默认未修改数据库。请选择目标库后可批量修复。",
                  roles, guilds);
}

/// The real repair window in front of two zones to be merged, opened from the query window.
struct RepairDesk {
    MergeFixture zones;
    Desk desk;
    HWND window = nullptr;

    RepairDesk() {
        desk.StartZone(L"一区", ZoneJson("青龙一区", zones.A()));
        desk.StartTool();
        window = desk.OpenRepairTool();
    }
    HWND Child(int id) const { return desk::Child(window, id); }
    void SetText(int id, const std::wstring& text) const { desk::SetText(Child(id), text); }
    std::wstring Text(int id) const { return desk::Text(Child(id)); }
    std::wstring Status() const { return Text(kRepairStatus); }
    /// Both empty the status line first: a text that is waited for must be a new one.
    void Press(int id) const { SetText(kRepairStatus, L""), desk::Press(Child(id)); }
    desk::MessageBoxView PressForBox(int id) const {
        SetText(kRepairStatus, L"");
        return desk::PressWithoutWaiting(Child(id)), desk::WaitForMessageBox(window);
    }
    void WaitForStatus(const std::wstring& status) const {
        desk::WaitFor("the status", status, [&] { return Status(); });
    }
    /// The action buttons that cannot be pressed: kEveryButton at most. Asks nobody.
    std::wstring Off() const {
        std::wstring off;
        for (const auto& [id, name] : {std::pair(kDetectButton, L"detect "),
                                       {kAnalyzeButton, L"analyse "},
                                       {kRepairButton, L"repair "},
                                       {kRepairAllButton, L"batch "}})
            if (!desk::IsEnabled(Child(id))) off += name;
        return off;
    }
    void Detect() const {
        SetText(kDatabaseBEdit, zones.B());
        Press(kDetectButton);
    }
    /// Detects, selects the duplicate 1001, makes the second zone the target and fills in a new ID.
    void DetectAndSelect(const wchar_t* newId = L"200001") const {
        Detect();
        desk::SelectListRow(Child(kRoleList), 1);
        desk::ChooseComboItem(Child(kTargetCombo), 1);
        SetText(kNewIdEdit, newId);
    }
};
inline const std::wstring kEveryButton = L"detect analyse repair batch ";
