#pragma once

#include <vector>

#include "account_query/query_settings.h"
#include "app/framed_window.h"
#include "discovery/game_server_info.h"

/// The account query window, the program's main window: lists the running zones, searches the accounts of
/// one, edits the account table settings and opens the ID repair tool. Its destruction ends the message loop.
class QueryWindow : public FramedWindow {
public:
    /// Creates the window, lets it find the running zones, and shows it.
    /// @param taskbar  of the program; must outlive the window.
    /// @return null when the window could not be created.
    static std::shared_ptr<QueryWindow> Open(HINSTANCE instance, int showCommand, TaskbarProgress& taskbar);

    explicit QueryWindow(TaskbarProgress& taskbar) noexcept;

private:
    void OnCreate() override;
    void OnCreated() override;
    void Layout(int width, int height) override;
    bool OnCommand(int controlId) override;
    void OnDestroy() override;

    void RefreshZones();
    void QueryAccounts();
    void SaveSettingsAndTell();
    void OpenRepairTool();

    void SaveSettings();
    void ShowListMessage(const std::wstring& text);
    void ShowAccounts(const GameServerInfo& zone, const std::vector<std::wstring>& accounts);
    const GameServerInfo* SelectedZone() const;

    QuerySettings settings_;
    std::vector<GameServerInfo> zones_;  // combo item i is element i
};
