#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "app/control_place.h"
#include "demo/desk_driver.h"
#include "id_repair/repair_layout.h"
#include "tests/support/merge_fixture.h"
#include "tests/support/temp_directory.h"
#include "text/text.h"

/// Checks where controls really stand. A combo box is as high as its font makes it.
void CheckPlaces(HWND window, std::span<const ControlPlace> places);

/// The real program in a folder of its own, beside game servers that really run. Everything ends with it.
class Desk {
public:
    /// Lays out an installation below the folder and starts its game server: `name`\Mir200\M2Server.exe.
    /// @param json  content of Config.Json, for instance that of a zone on the test server.
    void StartZone(const std::wstring& name, const std::string& json);
    static std::string ZoneJson(const std::string& utf8Name, const std::wstring& database);

    /// Writes a file beside the program.
    void Write(std::wstring_view name, std::string_view bytes) const { folder_.Write(name, bytes); }

    /// Starts the program and waits for its filled window.
    void StartTool();

    HWND Window() const noexcept { return window_; }
    desk::Program& Tool() const { return *tool_; }
    std::wstring Folder() const { return folder_.At(L""); }
    HWND Child(int id) const { return desk::Child(window_, id); }
    std::wstring Status() const { return desk::Text(Child(1006)); }
    std::wstring SettingsPath() const { return folder_.At(L"QuerySettings.ini"); }

    /// Types a keyword and presses the query button.
    void Query(const std::wstring& keyword) const;
    /// Opens the ID repair window from its button.
    HWND OpenRepairTool() const;

private:
    TempDirectory folder_;
    std::vector<std::unique_ptr<desk::Program>> servers_;
    std::unique_ptr<desk::Program> tool_;
    HWND window_ = nullptr;
};

/// The real repair window in front of two zones to be merged, opened from the query window.
struct RepairDesk {
    MergeFixture zones;
    Desk desk;
    HWND window = nullptr;

    RepairDesk() {
        desk.StartZone(L"一区", Desk::ZoneJson("青龙一区", zones.A()));
        desk.StartTool();
        window = desk.OpenRepairTool();
    }
    HWND Child(int id) const { return desk::Child(window, id); }
    std::wstring Text(int id) const { return desk::Text(Child(id)); }
    std::wstring Status() const { return Text(kRepairStatus); }
    /// Both empty the status line first: a text that is waited for must be a new one.
    void Press(int id) const { desk::SetText(Child(kRepairStatus), L""), desk::Press(Child(id)); }
    desk::MessageBoxView PressForBox(int id) const {
        desk::SetText(Child(kRepairStatus), L"");
        return desk::PressWithoutWaiting(Child(id)), desk::WaitForMessageBox(window);
    }
    void WaitForStatus(const std::wstring& status) const {
        desk::WaitUntil(WideToUtf8(status), [&] { return Status() == status; });
    }
    /// The action buttons that cannot be pressed: "3007 3011 3013 3016 " at most. Asks nobody.
    std::string Off() const {
        std::string off;
        for (const int id : {kDetectButton, kAnalyzeButton, kRepairButton, kRepairAllButton})
            if (!desk::IsEnabled(Child(id))) off += std::to_string(id) + " ";
        return off;
    }
    void Detect() const {
        desk::SetText(Child(kDatabaseBEdit), zones.B());
        Press(kDetectButton);
    }
};
