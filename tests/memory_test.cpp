#include <algorithm>

#include "account_query/account_source.h"
#include "account_query/account_text.h"
#include "support/own_windows.h"

// after windows.h, which it needs
#include <winternl.h>

namespace {

// What is in use on the heaps of this process, in bytes.
long long HeapInUse() {
    HANDLE heaps[64];
    long long used = 0;
    for (DWORD i = std::min<DWORD>(GetProcessHeaps(64, heaps), 64); i-- > 0;)
        for (PROCESS_HEAP_ENTRY entry = {}; HeapWalk(heaps[i], &entry);)
            if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) used += entry.cbData;
    return used;
}

// How much stays in use after so many rounds of an action, in bytes. Of four series the first one warms up
// and of the others the least counts: a heap grows by more when it makes room for small blocks.
template <class Action>
long long Growth(int rounds, Action action) {
    long long least = HeapInUse();
    for (int series = 0; series < 4; ++series) {
        const long long before = HeapInUse();
        for (int i = 0; i < rounds; ++i) action();
        if (series > 0) least = std::min(least, HeapInUse() - before);
    }
    return least;
}

// Fonts, pens, brushes, bitmaps and device contexts of this process.
size_t GdiObjects() {
    if (const DWORD counted = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS)) return counted;
    // Wine does not count them, but keeps each process's handle table where Windows has it: entries of 24
    // bytes with the kind of object, zero for a free entry, in the fifteenth.
    constexpr size_t kEntry = 24, kKind = 14, kEntries = 0x4000, kTable = 0xF8;
    const auto block = reinterpret_cast<const char*>(NtCurrentTeb()->ProcessEnvironmentBlock);
    const char* const table = *reinterpret_cast<const char* const*>(block + kTable);
    REQUIRE(table);
    size_t objects = 0;
    for (size_t i = kKind; i < kEntry * kEntries; i += kEntry) objects += table[i] != 0;
    return objects;
}

// A query's calls without the program: the driver manager may keep memory of each.
void CallBare(std::wstring login) {
    const std::wstring from = L"[dbo].[TBL_CHARACTER]", column = L"[FLD_ACCOUNT]", pattern = L"%zh%";
    const std::pair<std::wstring, int> statements[] = {
        {TextColumnsSql(), 3}, {ProbeAccountSql(from, column), 0}, {SearchAccountsSql(from, column, 100), 1}};
    SQLHANDLE environment, connection, statement;
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment);
    SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQLULEN{SQL_OV_ODBC3}), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, environment, &connection);
    SQLSetConnectAttrW(connection, SQL_ATTR_LOGIN_TIMEOUT, reinterpret_cast<SQLPOINTER>(SQLULEN{5}),
                       SQL_IS_UINTEGER);
    SQLDriverConnectW(connection, nullptr, login.data(), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
    for (const auto& [sql, columns] : statements) {
        SQLWCHAR texts[3][256];
        SQLLEN indicators[3] = {SQL_NTS};
        SQLAllocHandle(SQL_HANDLE_STMT, connection, &statement);
        SQLWCHAR* const text = OdbcText(sql.c_str());
        if (columns < 3) {
            SQLPrepareW(statement, text, SQL_NTS);
            BindPattern(statement, pattern, indicators[0]);
        }
        columns < 3 ? SQLExecute(statement) : SQLExecDirectW(statement, text, SQL_NTS);
        for (SQLUSMALLINT i = 1; i <= columns; ++i)
            SQLBindCol(statement, i, SQL_C_WCHAR, texts[i - 1], sizeof texts[0], &indicators[i - 1]);
        while (SQL_SUCCEEDED(SQLFetch(statement)) && columns > 0) continue;
        SQLFreeHandle(SQL_HANDLE_STMT, statement);
    }
    SQLDisconnect(connection);
    SQLFreeHandle(SQL_HANDLE_DBC, connection);
    SQLFreeHandle(SQL_HANDLE_ENV, environment);
}

}  // namespace

// In this process: only its own heaps can be walked block by block.
TEST_CASE("queries leave memory flat beside the same calls without the program") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const WindowsOfAZone story;
    const std::wstring login = BuildConnectionString(kDefaultDrivers[0], SettingsFor(story.zones.A()), 5);
    const auto query = [&] { story.desk.Query(L"zh"); };
    const auto bare = [&] { CallBare(login); };
    CHECK(ToldBy(query) == ToldBy(bare));
    CHECK(story.desk.Status().substr(0, 14) == L"查询完成，匹配到 2 个账号");
    CHECK(Growth(100, query) < Growth(100, bare) + 100 * 50);
}

TEST_CASE("windows and repaints leave memory flat and no drawing object behind") {
    const WindowsOfAZone story;
    const auto openAndRepaint = [&] {
        desk::Send(story.desk.OpenRepairTool(), WM_CLOSE);
        for (int i = 0; i < 5; ++i)
            RedrawWindow(story.desk.window, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
    };
    openAndRepaint();
    const size_t objects = GdiObjects();
    REQUIRE(objects > 0);
    CHECK(Growth(10, openAndRepaint) < 10 * 2000);
    CHECK(GdiObjects() < objects + 20);
}
