#include "id_repair/role_id.h"

#include <algorithm>
#include <string>

#include "text/text.h"

bool IsRoleId(std::wstring_view id) noexcept {
    constexpr size_t kLongest = 50;  // the width of FLD_USERID
    return !id.empty() && id.size() <= kLongest &&
           std::all_of(id.begin(), id.end(), [](wchar_t unit) { return unit >= L'0' && unit <= L'9'; });
}

void RequireRoleId(std::wstring_view id, std::wstring_view what) {
    if (!IsRoleId(id)) throw RuntimeError(std::wstring(what) + L"必须是纯数字唯一 ID");
}
