#include "account_query/query_window.h"

#include "account_query/account_search.h"
#include "account_query/account_text.h"
#include "account_query/query_layout.h"
#include "account_query/query_texts.h"
#include "app/controls.h"
#include "discovery/discover_game_servers.h"
#include "id_repair/open_repair_window.h"
#include "text/text.h"

namespace {

constexpr FrameStyle kFrame = {L"区服账号查询",   L"查询账号归属区服，核对合区数据库中的账号记录",
                               L"查询条件",       16,
                               RGB(92, 110, 128), {980, 620}};

constexpr ControlSpec kControls[kQueryControlCount] = {
    {kZoneLabel, ControlKind::Label, L"区服："},
    {kZoneCombo, ControlKind::FramedCombo, L""},
    {kRefreshButton, ControlKind::Button, L"刷新区服"},
    {kKeywordLabel, ControlKind::Label, L"关键字："},
    {kKeywordEdit, ControlKind::Edit, L""},
    {kQueryButton, ControlKind::Button, L"查询账号"},
    {kTableLabel, ControlKind::Label, L"账号表："},
    {kTableEdit, ControlKind::Edit, L""},
    {kFieldLabel, ControlKind::Label, L"账号字段："},
    {kFieldEdit, ControlKind::Edit, L""},
    {kSaveButton, ControlKind::Button, L"保存设置"},
    {kRepairToolButton, ControlKind::Button, L"合区 ID 工具"},
    {kAccountList, ControlKind::List, L""},
    {kQueryStatus, ControlKind::Status, L"正在检测 M2..."},
};

constexpr ListColumn kColumns[] = {{L"区服", 220}, {L"数据库", 220}, {L"账号（已隐藏）", 180}};

constexpr int kBusyButtons[] = {kQueryButton, kRefreshButton};

}  // namespace

QueryWindow::QueryWindow(TaskbarProgress& taskbar) noexcept : FramedWindow(kFrame, kQueryStatus, taskbar) {}

std::shared_ptr<QueryWindow> QueryWindow::Open(HINSTANCE instance, int showCommand,
                                               TaskbarProgress& taskbar) {
    auto window = std::make_shared<QueryWindow>(taskbar);
    if (!window->Create(instance, L"MergeAccountQueryWindow", nullptr, kFrame.smallestWindow.cx,
                        kFrame.smallestWindow.cy)) {
        return nullptr;
    }
    ShowWindow(window->Handle(), showCommand);
    UpdateWindow(window->Handle());
    return window;
}

void QueryWindow::OnCreate() {
    settings_ = LoadQuerySettings();
    const SIZE client = ClientSize();
    CreateControls(Handle(), kControls, QueryLayout(client.cx, client.cy), BodyFont());
    SetWindowTextW(Control(kTableEdit), settings_.accountTable.c_str());
    SetWindowTextW(Control(kFieldEdit), settings_.accountField.c_str());
    PressOnEnter(Control(kKeywordEdit), kQueryButton);
    SetUpList(Control(kAccountList), kColumns);
}

void QueryWindow::OnCreated() {
    RefreshZones();
}

void QueryWindow::Layout(int width, int height) {
    PlaceControls(Handle(), QueryLayout(width, height));
}

bool QueryWindow::OnCommand(int controlId) {
    switch (controlId) {
        case kRefreshButton:
            RefreshZones();
            return true;
        case kQueryButton:
            QueryAccounts();
            return true;
        case kSaveButton:
            SaveSettingsAndTell();
            return true;
        case kRepairToolButton:
            OpenRepairTool();
            return true;
        default:
            return false;
    }
}

void QueryWindow::OnDestroy() {
    PostQuitMessage(0);
}

void QueryWindow::RefreshZones() {
    SaveSettings();
    ShowStatus(L"正在检测 M2...");
    const HWND combo = Control(kZoneCombo);
    SendMessageW(combo, CB_RESETCONTENT, 0, 0);
    ShowListMessage(L"");
    std::wstring problems;
    zones_ = DiscoverGameServers(settings_.m2ProcessName, problems);
    for (const GameServerInfo& zone : zones_) {
        SendMessageW(combo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(ZoneLabel(zone).c_str()));
    }
    if (!zones_.empty()) SendMessageW(combo, CB_SETCURSEL, 0, 0);
    ShowStatus(RefreshStatus(zones_.size(), problems));
}

void QueryWindow::QueryAccounts() {
    SaveSettings();
    const GameServerInfo* zone = SelectedZone();
    if (!zone) return ShowStatus(L"请先启动 M2 并刷新区服。");
    const std::wstring keyword = Trim(ControlText(Control(kKeywordEdit)));
    if (const std::wstring problem = KeywordProblem(keyword); !problem.empty()) return ShowStatus(problem);
    ShowListMessage(L"");
    ShowStatus(L"正在连接 SQL Server 并自动识别账号表：" + zone->dbName);
    const ShownCursor waiting(IDC_WAIT);
    const DisabledButtons disabled(Handle(), kBusyButtons);
    Taskbar().Start(Handle());
    try {
        const AccountSearchResult result = SearchAccounts(*zone, keyword, settings_);
        ShowAccounts(*zone, result.accounts);
        ShowStatus(QuerySummary(result));
        Taskbar().Finish();
    } catch (const std::exception& error) {
        ShowStatus(QueryFailure(error.what()));
        Taskbar().Fail();
    }
}

void QueryWindow::SaveSettingsAndTell() {
    SaveSettings();
    ShowStatus(L"设置已保存：" + settings_.path);
}

void QueryWindow::OpenRepairTool() {
    RepairWindowParams params;
    if (const GameServerInfo* zone = SelectedZone()) {
        params = {zone->dbHost, zone->dbPort, zone->dbUser, zone->dbPassword, zone->dbName};
    }
    OpenRepairWindow(Handle(), params, Taskbar());
}

void QueryWindow::SaveSettings() {
    constexpr size_t kMostUnits = 255;
    settings_.accountTable = Trim(ControlText(Control(kTableEdit), kMostUnits));
    settings_.accountField = Trim(ControlText(Control(kFieldEdit), kMostUnits));
    SaveQuerySettings(settings_);
}

void QueryWindow::ShowListMessage(const std::wstring& text) {
    ListRefill rows(Control(kAccountList), text.empty() ? 0 : 1);
    if (!text.empty()) rows.AddMessage(text.c_str());
}

void QueryWindow::ShowAccounts(const GameServerInfo& zone, const std::vector<std::wstring>& accounts) {
    if (accounts.empty()) return ShowListMessage(L"没有匹配账号");
    ListFill rows(Control(kAccountList), kColumns, accounts.size());
    for (const std::wstring& account : accounts) {
        rows.AddRow({zone.serverName.c_str(), zone.dbName.c_str(), MaskAccountName(account).c_str()});
    }
}

const GameServerInfo* QueryWindow::SelectedZone() const {
    const LRESULT index = SendMessageW(Control(kZoneCombo), CB_GETCURSEL, 0, 0);
    if (index < 0 || static_cast<size_t>(index) >= zones_.size()) return nullptr;
    return &zones_[static_cast<size_t>(index)];
}
