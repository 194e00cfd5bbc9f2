#include "support/desk_fixture.h"

namespace {

// Makes Wine look for a DLL as Windows does: beside the program before its own. Only for programs of that
// file name; Windows takes no notice.
class SearchOrderOfWindows {
public:
    explicit SearchOrderOfWindows(const std::wstring& dll) {
        constexpr wchar_t kOrder[] = L"native,builtin";
        RegSetKeyValueW(HKEY_CURRENT_USER, (Key() + L"\\DllOverrides").c_str(), dll.c_str(), REG_SZ, kOrder,
                        sizeof kOrder);
    }
    ~SearchOrderOfWindows() { RegDeleteTreeW(HKEY_CURRENT_USER, Key().c_str()); }
    SearchOrderOfWindows(const SearchOrderOfWindows&) = delete;
    SearchOrderOfWindows& operator=(const SearchOrderOfWindows&) = delete;

private:
    static std::wstring Key() { return L"Software\\Wine\\AppDefaults\\MergeAccountQuery.exe"; }
};

}  // namespace

TEST_CASE("a DLL that lies beside the program is not loaded at the start nor by a query") {
    const TestDatabase zone(L"zone", {L"CREATE TABLE TBL_ACCOUNT (FLD_ACCOUNT nvarchar(50))"});
    // Only those that Windows does not always take from its own folder; code 4711 is the planted DLL's.
    struct Row {
        std::string dll, reason;
    };
    for (const Row& row : {Row{"ODBC32", "called by the program"},
                           {"COMCTL32", "called by the program"},
                           {"UXTHEME", "loaded by COMCTL32"},
                           {"CRYPTSP", "loaded by the CryptoAPI of Windows"},
                           {"BCRYPT", "loaded by the CryptoAPI of Wine"}}) {
        CAPTURE(row.dll);
        CAPTURE(row.reason);
        const std::wstring dll = Utf8ToWide(row.dll);
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
