#include <algorithm>
#include <random>

#include "account_query/account_candidates.h"
#include "account_query/account_text.h"
#include "account_query/query_texts.h"
#include "tests/support/wide_text.h"

// How the server compares: % any text, _ any unit, [..] a unit of a set, \ takes the special meaning away.
static bool IsLike(std::wstring_view text, std::wstring_view pattern) {
    if (pattern.empty()) return text.empty();
    if (pattern[0] == L'%' && IsLike(text, pattern.substr(1))) return true;
    if (text.empty()) return false;
    if (pattern[0] == L'%') return IsLike(text.substr(1), pattern);
    size_t taken = 1;
    bool same = pattern[0] == L'_' || pattern[0] == text[0];
    if (const size_t end = pattern.find(L']'); pattern[0] == L'[' && end != pattern.npos) {
        same = pattern.substr(1, end - 1).find(text[0]) != pattern.npos;
        taken = end + 1;
    }
    if (pattern[0] == L'\\' && pattern.size() > 1) same = pattern[taken++] == text[0];
    return same && IsLike(text.substr(1), pattern.substr(taken));
}

TEST_CASE("columns that may hold secrets are known by their names") {
    for (const wchar_t* name : {L"PASSWORD", L"pwd2", L"token", L"email", L"Tel", L"QQ", L"LoginIP", L"密码",
                                L"x电话x", L"身份证", L"zip", L"description", L"hotel", L"passport"}) {
        CHECK(IsSensitiveColumnName(name));
    }
    for (const wchar_t* name : {L"", L"FLD_ACCOUNT", L"账号", L"name", L"p_a_s_s"})
        CHECK_FALSE(IsSensitiveColumnName(name));
}

TEST_CASE("a candidate is scored by every rule that its names match and equal scores keep their order") {
    struct Row {
        const wchar_t *table, *column;
        int score;
    };
    for (const Row& row :
         {Row{L"TBL_ACCOUNT", L"FLD_ACCOUNT", 720}, Row{L"t_user", L"userid", 450},
          Row{L"LoginLog", L"name", -25}, Row{L"AccountHistory", L"account", 420},
          Row{L"T", L"登陆账号", 500}, Row{L"T", L"my_账号_account", 160}, Row{L"T", L"names", 0},
          Row{L"帐号登录", L"c", 220}, Row{L"日志RecordHistory", L"Id", -105}}) {
        CAPTURE(row.table);
        CHECK(ScoreAccountCandidate({L"account_log", row.table, row.column}) == row.score);
    }
    std::vector<AccountSource> candidates;
    for (int i = 0; i < 60; ++i) candidates.push_back({L"", std::to_wstring(100 + i), L"", (i * 7) % 3 - 1});
    RankAccountCandidates(candidates);
    CHECK(std::is_sorted(candidates.begin(), candidates.end(),
                         [](const AccountSource& a, const AccountSource& b) {
                             return a.score != b.score ? a.score > b.score : a.table < b.table;
                         }));
}

TEST_CASE("a keyword matches exactly the names that hold it whatever it is made of") {
    constexpr std::wstring_view kTelling = L"%_[]\\^-'a";
    std::mt19937 random(20240607);
    const auto text = [&](size_t longest) {
        std::wstring units(random() % (longest + 1), L'\0');
        for (wchar_t& unit : units) unit = kTelling[random() % kTelling.size()];
        return units;
    };
    int held = 0;
    for (int round = 0; round < 100'000; ++round) {
        const std::wstring keyword = text(3), name = text(8);
        CAPTURE(keyword);
        CAPTURE(name);
        const bool holds = name.find(keyword) != name.npos;
        REQUIRE(IsLike(name, ContainsPattern(keyword)) == holds);
        held += holds;
    }
    CHECK(held > 10'000);
    CHECK(ContainsPattern(L"a_b") == L"%a\\_b%");
    CHECK(ContainsNoCase(L"TBL_Account", L"aCCount"));
    CHECK_FALSE(ContainsNoCase(L"abc", L"abcd"));
}

TEST_CASE("masking hides the middle of a name") {
    for (const TextRow& row :
         {TextRow{L"", L""}, TextRow{L"a", L"*"}, TextRow{L"ab", L"**"}, TextRow{L"abc", L"a**"},
          TextRow{L"abcd", L"a**d"}, TextRow{L"abcde", L"ab**e"}, TextRow{L"张三丰", L"张**"},
          TextRow{L"玩家一二三", L"玩家**三"}}) {
        CHECK(MaskAccountName(row.in) == row.expected);
    }
}

TEST_CASE("a keyword has 2 to 32 units and an error without a text shows the word twice") {
    CHECK(KeywordProblem(L"a") == L"账号关键字至少输入 2 位。");
    CHECK(KeywordProblem(L"家家") + KeywordProblem(std::wstring(32, L'家')) == L"");
    CHECK(KeywordProblem(std::wstring(33, L'a')) == L"账号关键字最多输入 32 位。");
    CHECK(QueryFailure("") == L"查询失败：查询失败");
}
