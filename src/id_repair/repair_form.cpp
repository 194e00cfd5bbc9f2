#include "id_repair/repair_form.h"

#include "text/text.h"

namespace {

int ParsePort(const std::wstring& text) {
    try {
        return std::stoi(text);
    } catch (const std::logic_error&) {  // no digits, or too many
        throw RuntimeError("端口必须是数字");
    }
}

}  // namespace

RepairConnectionForm CheckRepairForm(const RepairFormTexts& texts) {
    RepairConnectionForm form;
    form.server = Trim(texts.server);
    form.user = Trim(texts.user);
    form.password = Trim(texts.password);
    form.databaseA = Trim(texts.databaseA);
    form.databaseB = Trim(texts.databaseB);
    form.port = ParsePort(Trim(texts.port));
    if (form.server.empty() || form.user.empty() || form.password.empty() || form.databaseA.empty() ||
        form.databaseB.empty()) {
        throw RuntimeError("服务器、端口、用户、密码和两个数据库都必须填写");
    }
    if (form.databaseA == form.databaseB) throw RuntimeError("两个数据库不能相同");
    return form;
}

RepairDirection ChooseDirection(const RepairConnectionForm& form, int comboIndex) {
    if (comboIndex == 1) return {form.databaseB, form.databaseA};
    return {form.databaseA, form.databaseB};
}
