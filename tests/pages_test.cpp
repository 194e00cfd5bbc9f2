#include <algorithm>
#include <cwctype>
#include <filesystem>
#include <functional>
#include <regex>

#include "db/connection_string.h"
#include "discovery/files.h"
#include "id_repair/repair_sql.h"
#include "support/wide_text.h"

using Texts = std::vector<std::wstring>;

static std::wstring Replaced(const std::wstring& text, const std::wstring& pattern, const std::wstring& by) {
    return std::regex_replace(text, std::wregex(pattern), by);
}

// A file of the project. A page is the same in one line, however it is broken and indented.
static std::wstring Source(const std::string& path) {
    CAPTURE(path);
    return Replaced(Utf8ToWide(ReadWholeFile(InputFile(Utf8ToWide(PROGRAM_SOURCE_DIR "/../" + path)))), L"\r",
                    L"");
}
static std::wstring Page(const std::string& path) {
    return Replaced(Source(path), L"\\s+", L" ");
}

// The passage when it does not stand in the text.
static std::wstring Missing(const std::wstring& passage, const std::wstring& text) {
    return text.find(passage) == text.npos ? passage : L"";
}

// What the first group of a pattern finds in a text.
static Texts AllOf(const std::wstring& text, const std::wstring& pattern) {
    const std::wregex regex(pattern);
    Texts found;
    for (std::wsregex_iterator at(text.begin(), text.end(), regex), end; at != end; ++at)
        found.push_back((*at)[1]);
    return found;
}

TEST_CASE("the pages name the drivers in the order in which they are tried") {
    const auto inShort = [](const std::wstring& text) {
        return Replaced(text, L" for SQL Server|SQL Server (?=Native)", L"");
    };
    std::wstring order;  // between two names commas, quotation marks, numbers of a list or "and the"
    for (const std::wstring_view driver : kDefaultDrivers)
        order += (order.empty() ? L"" : L"[^A-Z]{1,12}") + inShort(std::wstring(driver)) + L"\\b";
    CAPTURE(order);
    for (const char* page :
         Table{"docs/manual.md", "packaging/QuerySettings.ini", "CHANGELOG.md", "tools/wine_env.sh"})
        CHECK(AllOf(inShort(Page(page)), L"(" + order + L")").size() == 1);
}

TEST_CASE("the pages tell how long a connection takes") {
    const Texts seconds = AllOf(Source("src/db/odbc_session.cpp"), L"k\\w+Side = \\{(\\d+),");
    REQUIRE(seconds.size() == 2);  // of a query, of a repair
    const int query = std::stoi(seconds[0]), drivers = int{kDefaultDrivers.size()};
    const std::pair<const wchar_t*, std::wstring> figures[] = {
        {L"<q>", seconds[0]},
        {L"<r>", seconds[1]},
        {L"<all q>", std::to_wstring(drivers * query)},
        {L"<all r>", std::to_wstring(drivers * std::stoi(seconds[1]))},
        {L"<one more>", std::to_wstring((drivers + 1) * query)},
        {L"<all>", Words(L"one two three four five six").at(kDefaultDrivers.size() - 1)},
        {L"<全>", Words(L"一 两 三 四 五 六").at(kDefaultDrivers.size() - 1)}};
    for (const auto& [page, words] :
         Table({std::pair(
                    "README.md",
                    L"at most <q> seconds (query) or <r> seconds (repair) for each driver that is installed: "
                    L"<all q> or <all r> seconds with all <all>, <q> more when"),
                {"docs/reliability.md", L"is given <q> seconds for a query and <r> for a repair"},
                {"docs/manual.md", L"每个驱动最多等 <q> 秒（查询）或 <r> 秒（修复）"},
                {"docs/manual.md",
                 L"<全>个都装了，最多等 <all q> 秒或 <all r> 秒；查询时 `[ODBC]` 里写了 `Driver` 的，再加 "
                 L"<q> 秒"},
                {"docs/manual.md", L"每个驱动最多等 <q> 秒（第 5 节）"},
                {"docs/manual.md",
                 L"查询最多等 <all q> 秒（设置里写了驱动的 <one more> 秒），修复窗口最多等 <all r> 秒"}})) {
        std::wstring text = words;
        for (const auto& [mark, figure] : figures) text = Replaced(text, mark, figure);
        CHECK(Missing(text, Page(page)) == L"");
    }
}

TEST_CASE("the manual names the patterns of referring columns in its text and its statements") {
    const std::wstring manual = Page("docs/manual.md");
    Texts shortest;  // what another pattern matches as well stands in no statement
    for (const auto& [kind, start] :
         {std::pair(IdKind::Role, L"角色：字段名含 "), {IdKind::Guild, L"行会：字段名含 "}}) {
        const Texts patterns = AllOf(ReferringColumnsSql(kind, L"A"), L"LIKE N'%(\\w+)%'");
        std::wstring text;
        for (const std::wstring& pattern : patterns) {
            text += (pattern == patterns.back() ? L" 或 `" : L"、`") + pattern + L"`";
            const auto holds = [&](const auto& other) { return pattern.find(other) != pattern.npos; };
            if (std::ranges::count_if(patterns, holds) == 1) shortest.push_back(pattern);
        }
        CHECK(Missing(start + text.substr(1), manual) == L"");
    }
    std::ranges::sort(shortest);
    const Texts statements = AllOf(manual, L"```sql ([^`]*LIKE N'%[A-Z][^`]*)```");
    CHECK(statements.size() == 3);  // columns that letter case hides, that are too short, views
    for (const std::wstring& sql : Table(statements)) {
        Texts patterns = AllOf(sql, L"LIKE N'%([A-Z_]+)%'");
        std::ranges::sort(patterns);
        patterns.erase(std::unique(patterns.begin(), patterns.end()), patterns.end());
        CHECK(patterns == shortest);
    }
}

TEST_CASE("the version is the same everywhere") {
    const Texts version = AllOf(Source("CMakeLists.txt"), L"VERSION ([0-9.]+) LANGUAGES");
    REQUIRE(version.size() == 1);
    const std::wstring numbers = Replaced(version[0], L"\\.", L", ") + L", 0";
    using Row = std::tuple<const wchar_t*, const char*, std::wstring>;
    for (const auto& [place, page, expected] : Table<Row>{
             {L"(?:适用版本：|MergeAccountQuery-)([0-9.]+)", "docs/manual.md", version[0]},
             {L"semver.org/\\)\\. ## \\[([0-9.]+)\\]", "CHANGELOG.md", version[0]},
             {L"L\"V([0-9.]+)\"", "src/app/frame_paint.cpp", version[0]},
             {L"MergeAccountQuery\" version=\"([0-9.]+)\"", "src/resources/app.manifest", version[0] + L".0"},
             {L"VERSION ([0-9, ]+) [PF]", "src/resources/app.rc", numbers},
             {L"Version\", \"([0-9.]+)\"", "src/resources/app.rc", version[0]}}) {
        const Texts found = AllOf(Page(page), place);
        CHECK(found == Texts(std::max<size_t>(found.size(), 1), expected));
    }
}

// The lines of the texts in the program's literals. Messages are all but the titles, labels and columns that
// windows are made of, what is painted, and the words that names are compared with.
static Texts ProgramTexts(bool messagesAlone) {
    Texts texts;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(PROGRAM_SOURCE_DIR)) {
        const std::string kind = entry.path().extension().string();
        if (kind != ".cpp" && kind != ".h") continue;
        std::wstring code = Source("src/" + std::filesystem::relative(entry, PROGRAM_SOURCE_DIR).string());
        for (const wchar_t* other :
             {L"constexpr FrameStyle", L"constexpr ControlSpec", L"constexpr ListColumn",
              L"constexpr std::array", L"constexpr wchar_t kTitle", L"DrawLine("})
            for (size_t at; messagesAlone && (at = code.find(other)) != code.npos;)
                code.erase(at, code.find(L';', at) - at);
        code = Replaced(code, LR"("\n\s+L?")", L"");  // a literal that goes on in the next line
        const wchar_t token[] = LR"-(//[^\n]*|\n#[^\n]*|'(?:\\.|[^'\\])'|"([^"\\]*(?:\\.[^"\\]*)*)")-";
        for (const std::wstring& literal : AllOf(code, token))
            for (const std::wstring& line : AllOf(literal + L"\\n", LR"( *(.*?) *\\n)"))
                texts.push_back(line);
    }
    return texts;
}

TEST_CASE("every message has its row in the manual and every row a message") {
    std::wstring rows;  // the first cells of the tables of messages
    bool inTable = false;
    for (const std::wstring& line : AllOf(Source("docs/manual.md"), L"(.*)\n")) {
        const bool isHeading = line.starts_with(L"| 消息 |");
        inTable = isHeading || (inTable && line.starts_with(L"|"));
        if (inTable && !isHeading) rows += line.substr(2, line.find(L" |", 2) - 2) + L"\n";
    }
    const auto isChinese = [](wchar_t unit) { return unit >= 0x4E00 && unit <= 0x9FFF; };
    Texts withoutRow, withoutMessage;
    for (const std::wstring& text : ProgramTexts(true))
        if (std::ranges::any_of(text, isChinese) && rows.find(text) == rows.npos) withoutRow.push_back(text);
    CHECK(withoutRow == Texts());
    Texts texts = ProgramTexts(false);
    std::ranges::sort(texts, std::greater(), [](const std::wstring& text) { return text.size(); });
    std::erase_if(texts, [&](const std::wstring& text) {  // what would hide a word of a row
        return text.find(L' ') == text.npos && std::ranges::none_of(text, isChinese);
    });
    for (const std::wstring& row : AllOf(rows, L"(.*)\n")) {
        std::wstring rest = Replaced(row, L"〈[^〉]*〉|（[^）]*）", L"");  // what differs, and remarks
        for (const std::wstring& text : texts)
            for (size_t at; (at = rest.find(text)) != rest.npos;) rest.erase(at, text.size());
        if (std::ranges::any_of(rest, [&](wchar_t unit) { return isChinese(unit) || std::iswalnum(unit); }))
            withoutMessage.push_back(row);
    }
    CHECK(withoutMessage == Texts());
}
