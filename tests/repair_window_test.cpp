#include <algorithm>

#include "tests/support/desk_fixture.h"
#include "tests/support/wide_text.h"

TEST_CASE("the repair window opens once prefilled and stands in its place") {
    RepairDesk story;
    CHECK(GetWindow(story.window, GW_OWNER) == story.desk.Window());
    CHECK(story.Text(kServerEdit) + story.Text(kPortEdit) + story.Text(kUserEdit) +
              story.Text(kDatabaseAEdit) ==
          Server().host + std::to_wstring(Server().port) + Server().user + story.zones.A());
    CHECK(story.Text(kDatabaseBEdit).empty());
    CHECK(story.Status() == L"默认只读；检测和分析不会修改数据库。");
    CHECK((desk::Style(story.Child(kPasswordEdit)) & ES_PASSWORD) != 0);
    CHECK((desk::Style(story.Child(kSelectedIdEdit)) & ES_READONLY) != 0);
    CHECK((desk::Style(story.Child(kNewIdEdit)) & ES_NUMBER) != 0);
    CHECK(desk::ListColumns(story.Child(kFieldList)).at(3).title == L"命中行数");
    desk::Resize(story.window, 600, 400);
    CheckPlaces(story.window, RepairLayout(desk::ClientSize(story.window).cx));

    story.Press(kAnalyzeButton);
    CHECK(story.Status() == L"请先在重复列表中选择一个角色。");
    story.Press(kRepairAllButton);
    CHECK(story.Status() == L"请先点击“检测重复唯一 ID”，当前没有可批量修复的角色或行会记录。");
    desk::SetText(story.Child(kPortEdit), L"");
    story.Press(kDetectButton);
    CHECK(story.Status() == L"检测失败：端口必须是数字");
    CHECK(story.Enabled() == 4);
    desk::Press(story.desk.Child(1010));
    CHECK(desk::FindTopWindow(story.desk.Tool().Id(), L"RoleIdRepairWindow") == story.window);
    CHECK(story.Text(kPortEdit).empty());  // what was typed stays
    desk::Close(story.window);
    desk::WaitUntilGone(story.window);
    CHECK(IsWindow(story.desk.Window()));
}

TEST_CASE("the whole story from detection to empty lists") {
    const RepairDesk story;
    const AllContents before = story.zones.Contents();
    story.Detect();
    const std::wstring detected = L" 个，重复行会 2 个。默认未修改数据库。请选择目标库后可批量修复。";
    CHECK(story.Status() == L"分析完成：重复角色 3" + detected);
    CHECK(desk::ComboItems(story.Child(kTargetCombo)) == std::vector{story.zones.A(), story.zones.B()});
    using Texts = std::vector<std::wstring>;
    CHECK(desk::ListRows(story.Child(kRoleList)).at(1) == Texts{L"1001", L"张三", L"李四", L"zhang", L"li"});
    CHECK(desk::ListRows(story.Child(kGuildList)).at(1) == Texts{L"{BBBB}", L"青龙会", L"白虎会"});

    desk::SelectListRow(story.Child(kRoleList), 1);
    CHECK(story.Text(kSelectedIdEdit) == L"1001");
    CHECK(story.Status() == L"已选择重复 ID，请点击“分析选中 ID”。");
    desk::ChooseComboItem(story.Child(kTargetCombo), 1);
    story.Press(kAnalyzeButton);
    CHECK(story.Status() ==
          L"目标库关联字段 12 个，命中总行数 13；建议新 ID 已填入，确认目标库后才可执行修复。");
    CHECK(story.Text(kNewIdEdit) == L"100235");
    CHECK(desk::ListRows(story.Child(kFieldList)).at(0) ==
          Texts{L"dbo.TBL_BAG", L"USER_ID", L"varchar", L"1"});

    const std::wstring failed = L"修复失败，已尝试回滚：";
    for (const auto& [id, error] : {std::pair(L"", std::wstring(L"新角色唯一 ID必须是纯数字唯一 ID")),
                                    {L"1001", L"新旧角色唯一 ID 不能相同"},
                                    {L"100234", L"新 ID 已存在于数据库：" + story.zones.Third()}}) {
        desk::SetText(story.Child(kNewIdEdit), id);
        story.Press(kRepairButton);
        CHECK(story.Status() == failed + error);
    }
    desk::SetText(story.Child(kNewIdEdit), L"200001");
    const desk::MessageBoxView box = story.PressForBox(kRepairButton);
    CHECK(box.title == L"确认修复角色唯一 ID");
    CHECK(box.text == L"即将修改数据库：" + story.zones.B() +
                          L"\n旧 ID：1001\n新 ID：200001\n关联字段：12 个，预计更新 13 行。\n\n"
                          L"此操作会写入数据库，确认继续吗？");
    CHECK(box.defaultButton == IDNO);
    CHECK(GetWindow(box.window, GW_OWNER) == story.window);
    desk::AnswerByKey(box, VK_RETURN);
    story.WaitForStatus(L"已取消修复，数据库未修改。");
    CHECK(story.zones.Contents() == before);

    desk::Answer(story.PressForBox(kRepairButton), IDYES);
    const desk::MessageBoxView done = desk::WaitForMessageBox(story.window);
    CHECK(done.text == L"修复完成，事务已提交。建议重新检测两个数据库确认重复 ID 已消失。");
    CHECK(story.Enabled() == 0);
    desk::Answer(done, IDOK);
    story.WaitForStatus(L"分析完成：重复角色 2" + detected);
    CHECK(story.Enabled() == 4);
    CHECK(desk::ComboSelection(story.Child(kTargetCombo)) == 0);
    const Content changed = Difference(before.b, story.zones.Contents().b);
    CHECK(changed.size() == 13);
    for (const auto& [cell, value] : changed) CHECK(Trim(before.b.at(cell)) + Trim(value) == L"1001200001");

    desk::ChooseComboItem(story.Child(kTargetCombo), 1);
    const desk::MessageBoxView question = story.PressForBox(kRepairAllButton);
    CHECK(question.text == L"即将批量修复全部重复角色和行会 ID。\n\n目标库：" + story.zones.B() +
                               L"\n重复角色数量：2\n重复行会数量：2\n关联字段命中行数：12\n\n"
                               L"每个旧角色 ID 会生成新的数字 ID，每个旧行会 ID 会生成新的 GUID，\n"
                               L"并在目标库的主表及关联字段中同步替换。\n"
                               L"此操作会写入数据库，建议已停止对应 M2 并完成备份。\n\n确认继续吗？");
    CHECK(question.defaultButton == IDNO);
    CHECK(story.Enabled() == 0);
    desk::Answer(question, IDNO);
    story.WaitForStatus(L"已取消批量修复，数据库未修改。");
    CHECK(story.Enabled() == 4);
    desk::Answer(story.PressForBox(kRepairAllButton), IDYES);
    const desk::MessageBoxView allDone = desk::WaitForMessageBox(story.window);
    CHECK(allDone.text == L"批量修复完成，事务已提交。程序将重新检测两个库。");
    desk::Answer(allDone, IDOK);
    story.WaitForStatus(
        L"分析完成：重复角色 0 个，重复行会 0 个。默认未修改数据库。请选择目标库后可批量修复。");
    CHECK(desk::ListRowCount(story.Child(kRoleList)) + desk::ListRowCount(story.Child(kGuildList)) == 0);
    CHECK(story.zones.Contents().a == before.a);
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
    const auto isUpdate = [](const std::wstring& event) { return event.starts_with(L"execute UPDATE"); };
    desk::WaitUntil("an update", [&] {
        const std::vector<std::wstring> events = trace.Events();
        return std::any_of(events.begin(), events.end(), isUpdate);
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
