#include "support/desk_fixture.h"

using Texts = std::vector<std::wstring>;
static constexpr wchar_t kOneFailed[] = L"修复失败，已尝试回滚：",
                         kBatchFailed[] = L"批量修复失败，已尝试回滚：";

static std::wstring Analysed(References references) {
    return Format(L"目标库关联字段 {} 个，命中总行数 {}；建议新 ID 已填入，确认目标库后才可执行修复。",
                  references.columns, references.rows);
}

static std::wstring OneQuestion(const std::wstring& target, const wchar_t* oldId, const wchar_t* newId,
                                References references) {
    return Format(
        L"即将修改数据库：{}\n旧 ID：{}\n新 ID：{}\n关联字段：{} 个，预计更新 {} "
        L"行。\n\n此操作会写入数据库，确认继续吗？",
        target, oldId, newId, references.columns, references.rows);
}

static std::wstring BatchQuestion(const std::wstring& target, size_t roles, size_t guilds, size_t rows) {
    return Format(
        L"即将批量修复全部重复角色和行会 ID。\n\n目标库：{}\n重复角色数量：{}\n重复行会数量：{}\n"
        L"关联字段命中行数：{}\n\n每个旧角色 ID 会生成新的数字 ID，每个旧行会 ID 会生成新的 GUID，\n"
        L"并在目标库的主表及关联字段中同步替换。\n"
        L"此操作会写入数据库，建议已停止对应 M2 并完成备份。\n\n确认继续吗？",
        target, roles, guilds, rows);
}

// Presses a button that repairs and answers its question with Yes and its notice with OK.
static void Repair(const RepairDesk& story, int button, const std::wstring& question) {
    const bool isOne = button == kRepairButton;
    const desk::MessageBoxView box = story.PressForBox(button);
    CHECK(box.title == (isOne ? L"确认修复角色唯一 ID" : L"确认批量修复全部重复 ID"));
    CHECK(box.text == question);
    desk::WaitUntil("a warning", [&] { return desk::Yellowness(box.icon) > 0; });
    desk::Answer(box, IDYES);
    const desk::MessageBoxView end = desk::WaitForMessageBox(story.window);
    CHECK(end.title == (isOne ? L"修复完成" : L"批量修复完成"));
    CHECK(end.text == (isOne ? L"修复完成，事务已提交。建议重新检测两个数据库确认重复 ID 已消失。"
                             : L"批量修复完成，事务已提交。程序将重新检测两个库。"));
    CHECK(end.buttons.size() == 1);
    desk::WaitUntil("an information", [&] { return desk::Yellowness(end.icon) < 0; });
    CHECK(story.Off() == kEveryButton);
    desk::Answer(end, IDOK);
}

// The selected ID, its new one and the number of fields: what an analysis fills in.
static std::wstring Filled(const RepairDesk& story) {
    return Format(L"{},{},{}", story.Text(kSelectedIdEdit), story.Text(kNewIdEdit),
                  desk::ListRowCount(story.Child(kFieldList)));
}

TEST_CASE("without a selection or a detection an action is refused") {
    const RepairDesk story;
    for (const auto& [name, button, status] :
         Table({std::tuple("analyse", kAnalyzeButton, L"请先在重复列表中选择一个角色。"),
                {"repair", kRepairButton, L"请先在重复列表中选择一个角色。"},
                {"batch", kRepairAllButton,
                 L"请先点击“检测重复唯一 ID”，当前没有可批量修复的角色或行会记录。"}})) {
        story.Press(button);
        CHECK(story.Status() == status);
    }
}

TEST_CASE("a detection lists the duplicates and what can be repaired") {
    const RepairDesk story;
    const HWND roles = story.Child(kRoleList), target = story.Child(kTargetCombo);
    desk::BringToFront(story.window);
    const std::string blank = desk::Pixels(roles);
    story.Detect();
    CHECK(story.Status() == Detected(kDuplicateRoles, kDuplicateGuilds));
    desk::WaitUntil("painted rows", [&] { return desk::Pixels(roles) != blank; });
    CHECK(desk::ListRows(roles) == std::vector<Texts>{{L"0012", L"赵六", L"赵六", L"zhao", L"zhao"},
                                                      {L"1001", L"张三", L"李四", L"zhang", L"li"},
                                                      {L"1002", L"王五", L"", L"wang", L"wang"},
                                                      {L"77", L"陈七", L"钱七", L"chen", L"qian"}});
    CHECK(desk::ListRows(story.Child(kGuildList)) ==
          std::vector<Texts>{{L"{A'1}", L"玄武会", L"朱雀会"},
                             {L"{BBBB}", L"青龙会", L"白虎会"}});  // {bbbb} in B
    CHECK(desk::ComboItems(target) == Texts{story.zones.A(), story.zones.B()});
    CHECK(desk::ComboSelection(target) == 0);
}

TEST_CASE("an analysis fills in what a selection and a detection take away") {
    const RepairDesk story;
    story.DetectAndSelect(L"");
    CHECK(Filled(story) == L"1001,,0");
    CHECK(story.Status() == L"已选择重复 ID，请点击“分析选中 ID”。");
    story.SetText(kSelectedIdEdit, L"");
    story.Press(kAnalyzeButton);
    CHECK(story.Status() == Analysed(kRole1001));
    const std::wstring filled = Format(L"1001,100235,{}", kRole1001.columns);
    CHECK(Filled(story) == filled);
    CHECK(desk::ListRows(story.Child(kFieldList)).at(7) ==
          Texts{L"mail.信件", L"收件ROLEID", L"nvarchar", L"6"});
    desk::SelectListRow(story.Child(kGuildList), 1);
    desk::SelectListRow(story.Child(kFieldList), 1);
    CHECK(Filled(story) == filled);
    CHECK(story.Status() == Analysed(kRole1001));
    desk::SelectListRow(story.Child(kRoleList), 2);
    CHECK(Filled(story) == L"1002,,0");
    story.Detect();
    CHECK(Filled(story) == L",,0");
    CHECK(desk::ComboSelection(story.Child(kTargetCombo)) == 0);
    CHECK(desk::ComboItems(story.Child(kTargetCombo)).size() == 2);
}

TEST_CASE("what has changed on the server since it was shown is refused and left as it is") {
    const RepairDesk story;
    const std::wstring set = L"UPDATE TBL_CHARACTER SET FLD_USERID = ",
                       now = L"这个 ID 必须在两个库的 TBL_CHARACTER 中各有且只有一条记录",
                       planned = L"重复 ID 在两个库中不再各有且只有一条主表记录：1001";
    for (const auto& [change, zone, row, changed, back] :
         Table({std::tuple("gone from A", story.zones.A(), L" WHERE n = 1", L"'5'", L"'1001'"),
                {"twice in B", story.zones.B(), L" WHERE n = 7", L"'1001'", L"'3001'"}}))
        for (const auto& [action, button, status] :
             Table({std::tuple("analyse", kAnalyzeButton, L"分析失败：" + now),
                    {"repair", kRepairButton, kOneFailed + now},
                    {"batch", kRepairAllButton, kBatchFailed + planned}})) {
            story.DetectAndSelect();
            RunSql(Connect(zone), {set + changed + row});
            const Content before = story.zones.Contents();
            desk::PressWithoutWaiting(story.Child(button));
            story.WaitForStatus(status);  // and no question
            CHECK(story.Off() == L"");
            REQUIRE(story.zones.ChangeSince(before) == L"");
            RunSql(Connect(zone), {set + back + row});
        }
}

// Roles of a new pair of zones are stored and shown no more than the guilds of the pair before.
struct HalfDetected : RepairDesk {
    HalfDetected() {
        RunSql(Connect(zones.Third()), {L"INSERT INTO TBL_CHARACTER (n, FLD_USERID) VALUES (2, '1002')"});
        Detect();
        SetText(kDatabaseBEdit, zones.Third());
        const Faults noGuilds("execute\t'TBL_GUILD_INFO'\t1\tHY000\t1\tx\n");
        Press(kDetectButton);
        CHECK(Status() == L"检测失败：HY000: x");
    }
};

TEST_CASE("after half a detection a row stands for what is stored") {
    const HalfDetected story;
    const Content before = story.zones.Contents();
    desk::SelectListRow(story.Child(kRoleList), 1);  // one role alone is stored
    story.Press(kRepairButton);
    CHECK(story.Status() == L"请先在重复列表中选择一个角色。");
    desk::SelectListRow(story.Child(kRoleList), 0);
    CHECK(story.Text(kSelectedIdEdit) == L"1002");
    desk::ChooseComboItem(story.Child(kTargetCombo), 1);
    story.SetText(kNewIdEdit, L"200001");
    const desk::MessageBoxView question = story.PressForBox(kRepairButton);
    CHECK(question.text == OneQuestion(story.zones.Third(), L"1002", L"200001", {1, 1}));
    desk::Answer(question, IDNO);
    CHECK(story.zones.ChangeSince(before) == L"");
}

TEST_CASE("after half a detection the batch repairs what is stored and no more") {
    const HalfDetected story;
    const std::wstring& b = story.zones.B();
    story.SetText(kDatabaseBEdit, b);
    desk::ChooseComboItem(story.Child(kTargetCombo), 1);
    // Duplicates that no detection has found stay.
    RunSql(Connect(story.zones.A()), {L"UPDATE TBL_CHARACTER SET FLD_USERID = '12x' WHERE n = 5",
                                      L"UPDATE TBL_GUILD_INFO SET sGuildID = N'{ONLY-B}' WHERE n = 3"});
    const Content before = story.zones.Contents();
    constexpr size_t kStored = kRole1002.rows + kAllGuilds.rows;
    Repair(story, kRepairAllButton, BatchQuestion(b, 1, kDuplicateGuilds, kStored));
    story.WaitForStatus(Detected(kDuplicateRoles - 1 + 1, 1));
    CHECK(Difference(before, story.zones.Contents()).size() == kStored);
}

TEST_CASE("a new ID that is malformed unchanged or taken is refused before the question") {
    const RepairDesk story;
    for (const auto& [newId, refused] :
         Table({std::pair(L"", L"新角色唯一 ID必须是纯数字唯一 ID"s),
                {L"１", L"新角色唯一 ID必须是纯数字唯一 ID"},
                {L"1001", L"新旧角色唯一 ID 不能相同"},
                {L"3001", L"新 ID 已存在于数据库：" + story.zones.B()},  // twice
                {L"100234", L"新 ID 已存在于数据库：" + story.zones.Third()}})) {
        story.DetectAndSelect(newId);
        story.Press(kRepairButton);
        CHECK(story.Status() == kOneFailed + refused);
    }
}

TEST_CASE("one ID is repaired after a question and then everything is detected again") {
    const RepairDesk story;
    const Content before = story.zones.Contents();
    story.DetectAndSelect(L"2001");
    Repair(story, kRepairButton, OneQuestion(story.zones.B(), L"1001", L"2001", kRole1001));
    story.WaitForStatus(Detected(kDuplicateRoles - 1, kDuplicateGuilds));
    CHECK(story.Off() == L"");
    CHECK(desk::ComboSelection(story.Child(kTargetCombo)) == 0);
    const Content changed = Difference(before, story.zones.Contents());
    CHECK(changed.size() == kRole1001.rows);
    for (const auto& [cell, value] : changed) {
        CHECK(Trim(before.at(cell)) == L"1001");
        CHECK(Trim(value) == L"2001");
    }
}

TEST_CASE("guilds alone are repaired and in the first zone as well") {
    const RepairDesk story;
    const std::wstring& a = story.zones.A();
    RunSql(Connect(a), {L"UPDATE TBL_CHARACTER SET FLD_USERID = NULL"});
    const Content before = story.zones.Contents();
    story.Detect();
    Repair(story, kRepairAllButton, BatchQuestion(a, 0, kDuplicateGuilds, kDuplicateGuilds));
    story.WaitForStatus(Detected(0, 0));
    const Content changed = Difference(before, story.zones.Contents());
    CHECK(changed.size() == kDuplicateGuilds);
    CHECK(changed.begin()->first.substr(0, a.size()) == a);
}

TEST_CASE("Enter Escape and the close box answer No") {
    const RepairDesk story;
    const Content before = story.zones.Contents();
    story.DetectAndSelect();
    for (const auto& [action, button, status] :
         Table({std::tuple("repair", kRepairButton, L"已取消修复，数据库未修改。"),
                {"batch", kRepairAllButton, L"已取消批量修复，数据库未修改。"}}))
        for (const auto& [name, key] :
             Table({std::pair("Enter", VK_RETURN), {"Escape", VK_ESCAPE}, {"×", 0}})) {
            const desk::MessageBoxView box = story.PressForBox(button);
            CHECK(box.defaultButton == IDNO);
            CHECK(box.buttons.size() == 2);
            const bool gone =
                key ? desk::AnswerByKey(box, static_cast<WORD>(key)) : desk::AnswerByCloseBox(box);
            if (key == VK_RETURN) CHECK(gone);
            if (!gone) desk::Answer(box, IDNO);  // Windows: a question without Cancel ignores the other two
            story.WaitForStatus(status);
            CHECK(story.Off() == L"");
        }
    CHECK(story.zones.ChangeSince(before) == L"");
}

TEST_CASE("closing the program over a question answers nothing") {
    const RepairDesk story;
    const Content before = story.zones.Contents();
    story.DetectAndSelect();
    story.PressForBox(kRepairAllButton);
    desk::Close(story.desk.window);
    CHECK(story.desk.tool->WaitForEnd() == 0);
    CHECK(story.zones.ChangeSince(before) == L"");
}

// What a person sees: the buttons that are off, the pointer and the status.
struct Watched : RepairDesk {
    const HWND line = Child(kRepairStatus);
    const HCURSOR arrow = ClickForArrow(window);

    std::wstring Pointer() const { return desk::Cursor() == arrow ? L"arrow " : L"wait "; }
    void WaitToSee(const std::wstring& expected) const {
        desk::WaitFor("what is seen to be", expected,
                      [&] { return Off() + Pointer() + desk::ShownText(line); });
    }
    /// Presses under a slow server until the action is seen.
    void See(HWND button, const std::wstring& expected) const {
        desk::SetText(line, L"");
        const Faults untilSeen(kSlowServer);
        desk::PressWithoutWaiting(button);
        WaitToSee(expected);
    }
};

TEST_CASE("a detection and an analysis tell what they do and take buttons away while they work") {
    const Watched story;
    story.SetText(kDatabaseBEdit, story.zones.B());
    story.See(story.Child(kDetectButton), kEveryButton + L"wait 正在连接并分析两个数据库，请稍候...");
    story.WaitToSee(L"arrow " + Detected(kDuplicateRoles, kDuplicateGuilds));
    desk::SelectListRow(story.Child(kRoleList), 1);
    desk::ChooseComboItem(story.Child(kTargetCombo), 1);
    story.See(story.Child(kAnalyzeButton),
              L"analyse repair batch wait 正在分析目标库中这个角色的关联字段...");
    story.WaitToSee(L"arrow " + Analysed(kRole1001));
}

TEST_CASE("each repair tells what it does reads on master and writes on a connection to its target") {
    const Watched story;
    story.DetectAndSelect();
    for (const auto& [name, button, planning, repairing, detected] :
         Table({std::tuple("repair", kRepairButton, L"wait "s, L"正在事务中修复，请不要关闭窗口...",
                           Detected(kDuplicateRoles - 1, kDuplicateGuilds)),
                {"batch", kRepairAllButton,
                 kEveryButton + L"wait 正在自动分析所有重复角色及关联字段，请稍候...",
                 L"正在事务中批量修复，请不要关闭窗口...", Detected(0, 0)}})) {
        const Trace trace;
        desk::ChooseComboItem(story.Child(kTargetCombo), 1);
        story.See(story.Child(button), planning);
        const desk::MessageBoxView question = desk::WaitForMessageBox(story.window);
        CHECK(story.Pointer() == L"arrow ");
        story.See(desk::Child(question.window, IDYES), kEveryButton + L"wait " + repairing);
        const desk::MessageBoxView done = desk::WaitForMessageBox(story.window);
        CHECK(story.Pointer() == L"arrow ");
        desk::Answer(done, IDOK);
        story.WaitToSee(L"arrow " + detected);
        Texts used = trace.Events();
        std::erase_if(used, [](auto& event) {
            return !event.starts_with(L"connect ") && !event.starts_with(L"manual ");
        });
        CHECK(used == Texts{L"connect master", L"connect " + story.zones.B(), L"manual " + story.zones.B(),
                            L"connect master"});
    }
}

TEST_CASE("what the server refuses inside a repair reaches the status line and changes nothing") {
    const RepairDesk story;
    // A column too short for the new ID and one that holds each ID once; the last table is the first to be
    // written.
    for (const auto& [name, button, sql, status] :
         Table({std::tuple("too short", kRepairAllButton,
                           L"CREATE TABLE c (n int, sGuildID nvarchar(20)); INSERT INTO c (n, sGuildID) "
                           L"VALUES (1, N'{BBBB}')",
                           kBatchFailed + L"22001: "s),
                {"not unique", kRepairButton,
                 L"CREATE TABLE b (n int, UserID varchar(9) PRIMARY KEY); INSERT INTO b (n, UserID) VALUES "
                 L"(1, '1001'), (2, '200001')",
                 kOneFailed + L"23000: "s}})) {
        RunSql(Connect(story.zones.B()), {sql});
        const Content before = story.zones.Contents();
        story.DetectAndSelect();
        desk::Answer(story.PressForBox(button), IDYES);
        const size_t size = status.size();
        desk::WaitFor("the status to begin with", status, [&] { return story.Status().substr(0, size); });
        CHECK(story.Off() == L"");
        REQUIRE(story.zones.ChangeSince(before) == L"");
    }
}
