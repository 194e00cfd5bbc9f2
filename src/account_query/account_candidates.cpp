#include "account_query/account_candidates.h"

#include <algorithm>
#include <array>
#include <span>

#include "db/sql_text.h"
#include "text/text.h"

namespace {

using Words = std::span<const std::wstring_view>;

// All words are lower-case: names are lower-cased once, before the comparisons.
constexpr std::array<std::wstring_view, 22> kSensitiveFragments = {
    L"password", L"passwd", L"pwd",  L"pass", L"token", L"session", L"mail",    L"email",
    L"phone",    L"mobile", L"tel",  L"qq",   L"ip",    L"mac",     L"machine", L"电脑",
    L"机器",     L"密码",   L"邮箱", L"电话", L"手机",  L"身份证"};

constexpr std::array<std::wstring_view, 23> kExactColumns = {
    L"account",    L"accounts",    L"accountid",  L"accountname",  L"useraccount", L"userid",
    L"user_id",    L"username",    L"user_name",  L"loginid",      L"login_id",    L"loginname",
    L"login_name", L"fld_account", L"fld_userid", L"fld_username", L"saccount",    L"账号",
    L"帐号",       L"用户账号",    L"用户名",     L"登录账号",     L"登陆账号"};

constexpr std::array<std::wstring_view, 3> kAccountWords = {L"account", L"账号", L"帐号"};
constexpr std::array<std::wstring_view, 2> kUserIdWords = {L"userid", L"user_id"};
constexpr std::array<std::wstring_view, 3> kLoginWords = {L"login", L"登录", L"登陆"};
constexpr std::array<std::wstring_view, 2> kPlainColumns = {L"name", L"id"};
constexpr std::array<std::wstring_view, 4> kExactTables = {L"account", L"accounts", L"tbl_account",
                                                           L"t_account"};
constexpr std::array<std::wstring_view, 5> kUserTableWords = {L"user", L"login", L"用户", L"登录", L"登陆"};
constexpr std::array<std::wstring_view, 4> kLogTableWords = {L"log", L"日志", L"record", L"history"};

enum class Test { Equals, Contains };

struct ScoreRule {
    Test test;
    Words words;
    int weight;
};

// Each rule counts once, however many of its words match. A table named like "login" also matches "log" and
// loses more than it gains: intended, because most such tables are logs.
constexpr ScoreRule kColumnRules[] = {
    {Test::Equals, kExactColumns, 240},  {Test::Contains, kAccountWords, 160},
    {Test::Contains, kUserIdWords, 130}, {Test::Contains, kLoginWords, 100},
    {Test::Equals, kPlainColumns, 15},
};
constexpr ScoreRule kTableRules[] = {
    {Test::Equals, kExactTables, 180},
    {Test::Contains, kAccountWords, 140},
    {Test::Contains, kUserTableWords, 80},
    {Test::Contains, kLogTableWords, -120},
};

// Both sides are lower-case already: the name once for all rules, the fragments in their tables.
bool ContainsNoCase(std::wstring_view lowerText, std::wstring_view lowerFragment) noexcept {
    return lowerText.find(lowerFragment) != std::wstring_view::npos;
}

bool MatchesAny(std::wstring_view lowerName, Test test, Words words) noexcept {
    return std::any_of(words.begin(), words.end(), [&](std::wstring_view word) {
        return test == Test::Equals ? lowerName == word : ContainsNoCase(lowerName, word);
    });
}

int Score(std::wstring_view lowerName, std::span<const ScoreRule> rules) noexcept {
    int score = 0;
    for (const ScoreRule& rule : rules) {
        if (MatchesAny(lowerName, rule.test, rule.words)) score += rule.weight;
    }
    return score;
}

}  // namespace

bool IsSensitiveColumnName(std::wstring_view column) {
    return MatchesAny(ToLower(column), Test::Contains, kSensitiveFragments);
}

int ScoreAccountCandidate(const AccountSource& candidate) {
    return Score(ToLower(candidate.column), kColumnRules) + Score(ToLower(candidate.table), kTableRules);
}

void RankAccountCandidates(std::vector<AccountSource>& candidates) {
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const AccountSource& a, const AccountSource& b) { return a.score > b.score; });
}

std::wstring QualifiedAccountTable(const AccountSource& source) {
    constexpr std::wstring_view kLabel = L"账号表名";
    if (source.schema.empty()) return QuoteIdentifier(source.table, kLabel);
    return QuoteIdentifier(source.schema + L"." + source.table, kLabel);
}

std::wstring QuotedAccountColumn(const AccountSource& source) {
    return QuoteIdentifier(source.column, L"账号字段名");
}
