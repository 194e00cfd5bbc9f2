#include <functional>

#include "account_query/account_source.h"
#include "db/odbc_statement.h"
#include "id_repair/new_ids.h"
#include "tests/support/merge_fixture.h"
#include "tests/support/wide_text.h"

TEST_CASE("a text that does not fit is cut at the edge of its buffer and never read past it") {
    const TestDatabase database(L"edge", {L"CREATE TABLE t (n int, v nvarchar(400))"});
    const OdbcSession session = database.Open();
    for (const size_t before : {252u, 253u, 254u, 255u, 300u}) {
        CAPTURE(before);
        const std::wstring value =
            std::wstring(before, L'长') + L"\xD842\xDFB7z";  // one supplementary character
        RunSql(session, {L"DELETE FROM t", L"INSERT INTO t (n, v) VALUES (1, N'" + value + L"')"});
        const OdbcStatement rows = ExecuteDirect(session.Connection(), L"SELECT v, n FROM t", true);
        TextColumns row(rows.Get(), 2);
        REQUIRE(FetchCompleteRow(rows.Get()));
        // A driver may leave out a character that would be cut in half.
        const size_t units = row.Text(0).size();
        CHECK((units == std::min<size_t>(value.size(), 255) || (before == 254 && units == 254)));
        CHECK((value.starts_with(row.Text(0)) && row.Text(1) == L"1"));
    }
}

TEST_CASE("names of 128 characters are listed and named in statements") {
    const std::wstring table(128, L'表'), column = L"account_userid" + std::wstring(114, L'列');
    const size_t prefix = TestDatabase(L"").Name().size();
    const TestDatabase database(std::wstring(128 - prefix, L'x'),
                                {L"CREATE TABLE [" + table + L"] ([" + column + L"] varchar(50))",
                                 L"INSERT INTO [" + table + L"] ([" + column + L"]) VALUES ('1001')"});
    const OdbcSession session = database.Open();
    const AccountSource source = DetectAccountSource(session.Connection(), L"00", {});
    CHECK(source.table + source.column == table + column);
    CHECK(CountRoleIdHits(session.Connection(), database.Name(), L"1001").at(0).column == column);
}

TEST_CASE("every loop over rows ends with the words of a connection that died or a cursor that went") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const MergeFixture zones;
    const auto &a = zones.A(), &b = zones.B();
    const std::function<void(SQLHDBC)> loops[] = {
        [](SQLHDBC on) { ScanAccountCandidates(on); },
        [](SQLHDBC on) { ListDatabases(on); },
        [&](SQLHDBC on) { FindDuplicateRoles(on, a, b); },
        [&](SQLHDBC on) { FindDuplicateGuilds(on, a, b); },
        [&](SQLHDBC on) { FindGuildIdColumns(on, b); },
        [&](SQLHDBC on) { CountRoleIdHits(on, b, L"1001"); },
        [&](SQLHDBC on) { NextRoleIdAfterMax(on, std::vector(2, a)); },
    };
    for (const auto& loop : loops) {
        for (const std::string fault : {"die\tfetch\t1\t08S01", "die\tfetch\t2\t08S01", "fetch\t1+\t24000",
                                        "fetch\t2+\tHY010", "fetch\t2\tHY000"}) {
            // One row alone may be missing among candidates for accounts.
            if (fault.ends_with("HY000") && &loop == loops) continue;
            CAPTURE(&loop - loops);
            CAPTURE(fault);
            const OdbcSession session = Connect(b);
            const Faults faults(fault + "\t1\t断开\n");
            CHECK(ErrorOf([&] { loop(session.Connection()); }).ends_with(L": 断开"));
            CHECK(LiveHandles() == 2);  // the session's own
        }
    }
}
