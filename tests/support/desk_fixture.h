#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "app/control_place.h"
#include "demo/desk_driver.h"
#include "tests/support/temp_directory.h"

/// Checks where controls really stand. A combo box is as high as its font makes it.
void CheckPlaces(HWND window, std::span<const ControlPlace> places);

/// The real program in a folder of its own, beside game servers that really run. Everything ends with it.
class Desk {
public:
    /// Lays out an installation below the folder and starts its game server: `name`\Mir200\M2Server.exe.
    /// @param json  content of Config.Json; without one the installation has no configuration at all.
    void StartZone(const std::wstring& name, const std::string& json);

    /// Config.Json of a zone on the test server.
    static std::string ZoneJson(const std::string& utf8Name, const std::wstring& database);

    /// Starts the program and waits for its filled window.
    void StartTool();

    HWND Window() const noexcept { return window_; }
    desk::Program& Tool() { return *tool_; }
    HWND Child(int id) const { return desk::Child(window_, id); }
    std::wstring Status() const { return desk::Text(Child(1006)); }
    std::wstring SettingsPath() const { return folder_.At(L"QuerySettings.ini"); }
    std::wstring Setting(const wchar_t* section, const wchar_t* key) const;

    /// Types a keyword and presses the query button.
    void Query(const std::wstring& keyword);

    /// Opens the ID repair window from the button and gives it.
    HWND OpenRepairTool();

private:
    TempDirectory folder_;
    std::vector<std::unique_ptr<desk::Program>> servers_;
    std::unique_ptr<desk::Program> tool_;
    HWND window_ = nullptr;
};
