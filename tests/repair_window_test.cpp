#include <doctest/doctest.h>

#include <windows.h>

// after windows.h, which it needs
#include <commctrl.h>

#include "id_repair/repair_layout.h"
#include "tests/support/desk_fixture.h"
#include "tests/support/merge_fixture.h"
#include "tests/support/wide_text.h"

namespace {

constexpr int kActions[] = {kDetectButton, kAnalyzeButton, kRepairButton, kRepairAllButton};

// The repair window in front of a fixture, with its form filled in.
struct RepairDesk {
    MergeFixture zones;
    Desk desk;
    HWND window = nullptr;

    RepairDesk() {
        desk.StartZone(L"一区", Desk::ZoneJson("青龙一区", zones.A()));
        desk.StartTool();
        window = desk.OpenRepairTool();
    }
    HWND Child(int id) const { return desk::Child(window, id); }
    std::wstring Text(int id) const { return desk::Text(Child(id)); }
    std::wstring Status() const { return Text(kRepairStatus); }
    void Press(int id) const { desk::Press(Child(id)); }
    desk::MessageBoxView PressForBox(int id) const {
        desk::PressWithoutWaiting(Child(id));
        return desk::WaitForMessageBox(window);
    }
    void WaitForStatus(const std::wstring& status) const {
        desk::WaitUntil(WideToUtf8(status), [&] { return Status() == status; });
    }
    std::vector<bool> Enabled() const {
        std::vector<bool> enabled;
        for (const int id : kActions) enabled.push_back(desk::IsEnabled(Child(id)));
        return enabled;
    }
    void Detect() const {
        desk::SetText(Child(kDatabaseBEdit), zones.B());
        Press(kDetectButton);
    }
    void SelectRole(int row) const { desk::SelectListRow(Child(kRoleList), row); }
};

const std::vector<bool> kAllEnabled(4, true);
const std::vector<bool> kAllDisabled(4, false);

}  // namespace

TEST_CASE("the repair window opens once prefilled and stands in its place") {
    RepairDesk story;
    CHECK(GetWindow(story.window, GW_OWNER) == story.desk.Window());
    CHECK(story.Text(kServerEdit) == Server().host);
    CHECK(story.Text(kPortEdit) == std::to_wstring(Server().port));
    CHECK(story.Text(kUserEdit) == Server().user);
    CHECK(story.Text(kDatabaseAEdit) == story.zones.A());
    CHECK(story.Text(kDatabaseBEdit).empty());
    CHECK(story.Status() == L"默认只读；检测和分析不会修改数据库。");
    CHECK((desk::Style(story.Child(kPasswordEdit)) & ES_PASSWORD) != 0);
    CHECK((desk::Style(story.Child(kSelectedIdEdit)) & ES_READONLY) != 0);
    CHECK((desk::Style(story.Child(kNewIdEdit)) & ES_NUMBER) != 0);
    const auto columns = desk::ListColumns(story.Child(kFieldList));
    REQUIRE(columns.size() == 4);
    CHECK(columns[3].title == L"命中行数");
    desk::SetText(story.Child(kServerEdit), L"typed");
    desk::Press(story.desk.Child(1010));
    CHECK(desk::FindTopWindow(story.desk.Tool().Id(), L"RoleIdRepairWindow") == story.window);
    CHECK(story.Text(kServerEdit) == L"typed");
    for (const SIZE& size : {SIZE{600, 400}, SIZE{1160, 860}, SIZE{1500, 900}}) {
        desk::Resize(story.window, size.cx, size.cy);
        const SIZE client = desk::ClientSize(story.window);
        CheckPlaces(story.window, RepairLayout(client.cx));
    }
    desk::Close(story.window);
    desk::WaitUntilGone(story.window);
    CHECK(IsWindow(story.desk.Window()));
}

TEST_CASE("without a form or a selection only the status line changes") {
    const RepairDesk story;
    story.Press(kAnalyzeButton);
    CHECK(story.Status() == L"请先在重复列表中选择一个角色。");
    story.Press(kRepairAllButton);
    CHECK(story.Status() == L"请先点击“检测重复唯一 ID”，当前没有可批量修复的角色或行会记录。");
    story.Press(kDetectButton);
    CHECK(story.Status() == L"检测失败：服务器、端口、用户、密码和两个数据库都必须填写");
    desk::SetText(story.Child(kPortEdit), L"");
    story.Press(kDetectButton);
    CHECK(story.Status() == L"检测失败：端口必须是数字");
    CHECK(story.Enabled() == kAllEnabled);
}

TEST_CASE("the whole story from detection to empty lists") {
    const RepairDesk story;
    const AllContents before = story.zones.Contents();
    story.Detect();
    const std::wstring detected = L" 个，重复行会 2 个。默认未修改数据库。请选择目标库后可批量修复。";
    CHECK(story.Status() == L"分析完成：重复角色 3" + detected);
    CHECK(desk::ComboItems(story.Child(kTargetCombo)) ==
          std::vector<std::wstring>{story.zones.A(), story.zones.B()});
    CHECK(desk::ListRows(story.Child(kRoleList))[1] ==
          std::vector<std::wstring>{L"1001", L"张三", L"李四", L"zhang", L"li"});
    CHECK(desk::ListRows(story.Child(kGuildList))[1] ==
          std::vector<std::wstring>{L"{BBBB}", L"青龙会", L"白虎会"});

    story.SelectRole(1);
    CHECK(story.Text(kSelectedIdEdit) == L"1001");
    CHECK(story.Status() == L"已选择重复 ID，请点击“分析选中 ID”。");
    story.Press(kRepairButton);  // nothing analysed: the box for the new ID is empty
    CHECK(story.Status() == L"修复失败，已尝试回滚：新角色唯一 ID必须是纯数字唯一 ID");
    desk::ChooseComboItem(story.Child(kTargetCombo), 1);
    story.Press(kAnalyzeButton);
    CHECK(story.Status() ==
          L"目标库关联字段 12 个，命中总行数 13；建议新 ID 已填入，确认目标库后才可执行修复。");
    CHECK(story.Text(kNewIdEdit) == L"100235");
    CHECK(desk::ListRows(story.Child(kFieldList))[0] ==
          std::vector<std::wstring>{L"dbo.TBL_BAG", L"USER_ID", L"varchar", L"1"});

    for (const auto& [id, error] : {std::pair(L"1001", std::wstring(L"新旧角色唯一 ID 不能相同")),
                                    std::pair(L"100234", L"新 ID 已存在于数据库：" + story.zones.Third())}) {
        desk::SetText(story.Child(kNewIdEdit), id);
        story.Press(kRepairButton);
        CHECK(story.Status() == L"修复失败，已尝试回滚：" + error);
    }
    desk::SetText(story.Child(kNewIdEdit), L"200001");
    for (const int key : {VK_RETURN, 0}) {
        const desk::MessageBoxView box = story.PressForBox(kRepairButton);
        CHECK(box.title == L"确认修复角色唯一 ID");
        CHECK(box.text == L"即将修改数据库：" + story.zones.B() +
                              L"\n旧 ID：1001\n新 ID：200001\n关联字段：12 个，预计更新 13 行。\n\n"
                              L"此操作会写入数据库，确认继续吗？");
        CHECK(box.defaultButton == IDNO);
        CHECK(GetWindow(box.window, GW_OWNER) == story.window);
        if (key)
            desk::AnswerByKey(box, static_cast<WORD>(key));
        else
            desk::Answer(box, IDNO);
        story.WaitForStatus(L"已取消修复，数据库未修改。");
    }
    CHECK(story.zones.Contents() == before);

    desk::Answer(story.PressForBox(kRepairButton), IDYES);
    const desk::MessageBoxView done = desk::WaitForMessageBox(story.window);
    CHECK(done.title == L"修复完成");
    CHECK(done.text == L"修复完成，事务已提交。建议重新检测两个数据库确认重复 ID 已消失。");
    CHECK(story.Enabled() == kAllDisabled);
    desk::Answer(done, IDOK);
    story.WaitForStatus(L"分析完成：重复角色 2" + detected);
    CHECK(story.Enabled() == kAllEnabled);
    CHECK(desk::ComboSelection(story.Child(kTargetCombo)) == 0);
    CHECK(Difference(before.b, story.zones.Contents().b).size() == 13);

    desk::ChooseComboItem(story.Child(kTargetCombo), 1);
    const desk::MessageBoxView question = story.PressForBox(kRepairAllButton);
    CHECK(question.title == L"确认批量修复全部重复 ID");
    CHECK(question.text == L"即将批量修复全部重复角色和行会 ID。\n\n目标库：" + story.zones.B() +
                               L"\n重复角色数量：2\n重复行会数量：2\n关联字段命中行数：12\n\n"
                               L"每个旧角色 ID 会生成新的数字 ID，每个旧行会 ID 会生成新的 GUID，\n"
                               L"并在目标库的主表及关联字段中同步替换。\n"
                               L"此操作会写入数据库，建议已停止对应 M2 并完成备份。\n\n确认继续吗？");
    CHECK(question.defaultButton == IDNO);
    CHECK(story.Enabled() == kAllDisabled);
    desk::Answer(question, IDNO);
    story.WaitForStatus(L"已取消批量修复，数据库未修改。");
    CHECK(story.Enabled() == kAllEnabled);

    desk::Answer(story.PressForBox(kRepairAllButton), IDYES);
    const desk::MessageBoxView allDone = desk::WaitForMessageBox(story.window);
    CHECK(allDone.text == L"批量修复完成，事务已提交。程序将重新检测两个库。");
    desk::Answer(allDone, IDOK);
    story.WaitForStatus(
        L"分析完成：重复角色 0 个，重复行会 0 个。默认未修改数据库。请选择目标库后可批量修复。");
    CHECK(desk::ListRowCount(story.Child(kRoleList)) == 0);
    CHECK(desk::ListRowCount(story.Child(kGuildList)) == 0);
    CHECK(story.zones.Contents().a == before.a);
}

TEST_CASE("a failing batch tells its error and the window stays usable") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const RepairDesk story;
    story.Detect();
    const AllContents before = story.zones.Contents();
    const desk::MessageBoxView question = story.PressForBox(kRepairAllButton);
    {
        const Faults faults("commit\t1\tHY000\t1\tx\n");
        desk::Answer(question, IDYES);
        story.WaitForStatus(L"批量修复失败，已尝试回滚：统一角色/行会修复事务提交失败");
    }
    CHECK(story.Enabled() == kAllEnabled);
    CHECK(story.zones.Contents() == before);
}

TEST_CASE("a program killed inside the transaction leaves nothing half applied") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    RepairDesk story;
    story.Detect();
    const AllContents before = story.zones.Contents();
    const desk::MessageBoxView question = story.PressForBox(kRepairAllButton);
    const Faults faults("slow\tcommit\t1\t60000\n");
    const Trace trace;
    desk::Answer(question, IDYES);
    desk::WaitUntil("an update", [&] {
        for (const std::wstring& event : trace.Events()) {
            if (event.find(L"UPDATE") != std::wstring::npos) return true;
        }
        return false;
    });
    story.desk.Tool().Kill();
    CHECK(story.zones.Contents() == before);
}

TEST_CASE("closing the query window closes an open question unanswered") {
    RepairDesk story;
    story.Detect();
    const AllContents before = story.zones.Contents();
    story.PressForBox(kRepairAllButton);
    desk::Close(story.desk.Window());
    desk::WaitUntilGone(story.desk.Window());
    CHECK(story.desk.Tool().WaitForEnd() == 0);
    CHECK(story.zones.Contents() == before);
}
