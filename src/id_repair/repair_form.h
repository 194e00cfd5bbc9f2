#pragma once

#include <string>
#include <string_view>

/// The validated values of the connection form.
struct RepairConnectionForm {
    std::wstring server;
    int port = 1433;
    std::wstring user;
    std::wstring password;
    std::wstring databaseA;
    std::wstring databaseB;
};

/// The texts of the form's edit boxes, unchecked.
struct RepairFormTexts {
    std::wstring server;
    std::wstring port;
    std::wstring user;
    std::wstring password;
    std::wstring databaseA;
    std::wstring databaseB;
};

/// Trims and checks the form: first the port (a decimal 32-bit number; what follows its digits is ignored,
/// its range is not checked), then that nothing is empty, then that the databases differ (case-sensitive).
/// @throws RuntimeError "端口必须是数字", "服务器、端口、用户、密码和两个数据库都必须填写" or
/// "两个数据库不能相同".
RepairConnectionForm CheckRepairForm(const RepairFormTexts& texts);

/// Which of the two databases is written and which is only compared with.
struct RepairDirection {
    std::wstring target;
    std::wstring other;
};

/// @param comboIndex  selection of the target combo: 1 is database B, anything else database A.
RepairDirection ChooseDirection(const RepairConnectionForm& form, int comboIndex);
