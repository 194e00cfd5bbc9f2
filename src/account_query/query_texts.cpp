#include "account_query/query_texts.h"

#include "text/text.h"

std::wstring ZoneLabel(const GameServerInfo& zone) {
    return zone.serverName + L"  |  " + zone.dbName;
}

std::wstring RefreshStatus(size_t zoneCount, const std::wstring& problems) {
    std::wstring status = L"检测到 " + std::to_wstring(zoneCount) + L" 个已启动 M2。";
    if (!problems.empty()) status += L" " + problems;
    return status;
}

std::wstring QuerySummary(const AccountSearchResult& result) {
    const AccountSource& source = result.source;
    std::wstring place = source.schema.empty() ? std::wstring() : source.schema + L".";
    place += source.table + L"." + source.column;
    const wchar_t* mode = source.autoDetected ? L"自动识别" : L"手动配置";
    return L"查询完成，匹配到 " + std::to_wstring(result.accounts.size()) + L" 个账号；" + mode + L"：" +
           place + L"；中间两位已隐藏。";
}

std::wstring QueryFailure(const char* utf8Message) {
    const std::wstring message = Utf8ToWide(utf8Message);
    return L"查询失败：" + (message.empty() ? std::wstring(L"查询失败") : message);
}

std::wstring KeywordProblem(const std::wstring& keyword) {
    constexpr size_t kShortest = 2;
    constexpr size_t kLongest = 32;
    if (keyword.size() < kShortest) return L"账号关键字至少输入 2 位。";
    if (keyword.size() > kLongest) return L"账号关键字最多输入 32 位。";
    return {};
}
