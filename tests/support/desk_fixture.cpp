#include "tests/support/desk_fixture.h"

#include <doctest/doctest.h>
#include <windows.h>

#include <filesystem>

#include "tests/support/test_database.h"
#include "text/text.h"

namespace {

std::string JsonText(const std::wstring& text) {
    std::string json = "\"";
    for (const char byte : WideToUtf8(text)) {
        if (byte == '"' || byte == '\\') json += '\\';
        json += byte;
    }
    return json + '"';
}

}  // namespace

void CheckPlaces(HWND window, std::span<const ControlPlace> places) {
    for (const ControlPlace& place : places) {
        CAPTURE(place.id);
        const HWND control = desk::Child(window, place.id);
        const RECT rect = desk::RectInParent(control);
        CHECK(rect.left == place.x);
        CHECK(rect.top == place.y);
        CHECK(rect.right - rect.left == place.width);
        if (desk::ClassName(control) != L"ComboBox") CHECK(rect.bottom - rect.top == place.height);
    }
}

std::string Desk::ZoneJson(const std::string& utf8Name, const std::wstring& database) {
    const TestServer& server = Server();
    return "{\"DBInfo\": {\"sDBIpAddr\": " + JsonText(server.host) +
           ", \"nDBPort\": " + std::to_string(server.port) + ", \"sDBName\": " + JsonText(database) +
           ", \"sDBUser\": " + JsonText(server.user) + ", \"sDBPsw\": " + JsonText(server.password) +
           "}, \"ServerInfo\": {\"sServerName\": \"" + utf8Name + "\", \"nServerID\": 7}}";
}

void Desk::StartZone(const std::wstring& name, const std::string& json) {
    const std::wstring server = folder_.At(name + L"\\Mir200\\M2Server.exe");
    folder_.Make(name + L"\\Mir200");
    folder_.Write(name + L"\\Config.Json", json);
    folder_.Write(name + L"\\Config.ini", "[Config]\r\nGameName=ini\r\n");
    std::filesystem::copy_file(Built(L"demo\\M2Server.exe"), server);
    servers_.push_back(std::make_unique<desk::Program>(server));
}

void Desk::StartTool() {
    const std::wstring tool = folder_.At(L"MergeAccountQuery.exe");
    std::filesystem::copy_file(Built(L"MergeAccountQuery.exe"), tool);
    ForgetHandles();
    tool_ = std::make_unique<desk::Program>(tool, folder_.At(L""));
    window_ = desk::WaitForTopWindow(tool_->Id(), L"MergeAccountQueryWindow");
}

void Desk::Query(const std::wstring& keyword) const {
    desk::SetText(Child(1002), keyword);
    desk::Press(Child(1004));
}

HWND Desk::OpenRepairTool() const {
    desk::Press(Child(1010));
    return desk::WaitForTopWindow(tool_->Id(), L"RoleIdRepairWindow");
}
