#include "support/desk_fixture.h"

// Makes Wine look for a DLL as Windows does: beside the program before its own. Only for programs of that
// file name; Windows takes no notice.
struct SearchOrderOfWindows {
    const std::wstring key = L"Software\\Wine\\AppDefaults\\MergeAccountQuery.exe";

    explicit SearchOrderOfWindows(const std::wstring& dll) {
        constexpr wchar_t kOrder[] = L"native,builtin";
        RegSetKeyValueW(HKEY_CURRENT_USER, (key + L"\\DllOverrides").c_str(), dll.c_str(), REG_SZ, kOrder,
                        sizeof kOrder);
    }
    ~SearchOrderOfWindows() { RegDeleteTreeW(HKEY_CURRENT_USER, key.c_str()); }
    SearchOrderOfWindows(const SearchOrderOfWindows&) = delete;
    SearchOrderOfWindows& operator=(const SearchOrderOfWindows&) = delete;
};

TEST_CASE("a DLL that lies beside the program is not loaded at the start nor by a query") {
    const TestDatabase zone(L"zone", {L"CREATE TABLE TBL_ACCOUNT (FLD_ACCOUNT nvarchar(50))"});
    // Only those that Windows does not always take from its own folder; code 4711 is the planted DLL's.
    for (const auto& [reason, dll] : Table({std::pair("ODBC32, called by the program", L"ODBC32"s),
                                            {"COMCTL32, called by the program", L"COMCTL32"},
                                            {"UXTHEME, loaded by COMCTL32", L"UXTHEME"},
                                            {"CRYPTSP, loaded by the CryptoAPI of Windows", L"CRYPTSP"},
                                            {"BCRYPT, loaded by the CryptoAPI of Wine", L"BCRYPT"}})) {
        const SearchOrderOfWindows order(dll);
        Desk desk;
        desk.StartZone(L"一区", ZoneJson("青龙一区", zone.Name()));
        std::filesystem::copy_file(Built(L"tests\\planted_dll.dll"), desk.folder.At(dll + L".dll"));
        desk.StartTool();
        desk.Query(L"zh");
        CHECK(desk.Status() ==
              L"查询完成，匹配到 0 个账号；自动识别：dbo.TBL_ACCOUNT.FLD_ACCOUNT；中间两位已隐藏。");
    }
}
