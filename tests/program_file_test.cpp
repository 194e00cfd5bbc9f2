#include "support/temp_directory.h"
#include "support/wide_text.h"

TEST_CASE("the program's file brings its icon its version and its manifest along") {
    const std::wstring path = ProgramToStart();
    const HMODULE file = LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    REQUIRE(file);
    const auto resource = [&](const wchar_t* type, int id) {
        const HRSRC found = FindResourceW(file, MAKEINTRESOURCEW(id), type);
        REQUIRE(found);
        return std::string_view(static_cast<const char*>(LockResource(LoadResource(file, found))),
                                SizeofResource(file, found));
    };
    std::string sizes;  // one entry of 14 bytes for each picture, its width first; 0 means 256
    const std::string_view icon = resource(RT_GROUP_ICON, 101);
    for (size_t entry = 6; entry < icon.size(); entry += 14) sizes += std::to_string(icon[entry]) + " ";
    CHECK(sizes == "16 20 24 32 48 64 0 ");
    const std::string_view manifest = resource(RT_MANIFEST, 1);
    for (const char* part :
         {R"(name="Microsoft.Windows.Common-Controls" version="6.0.0.0")",
          R"(publicKeyToken="6595b64144ccf1df")", R"(level="asInvoker" uiAccess="false")",
          "{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}", "<gdiScaling xmlns=", ">true</gdiScaling>"})
        CHECK(manifest.find(part) != manifest.npos);
    for (const char* part : {"activeCodePage", "dpiAware"}) CHECK(manifest.find(part) == manifest.npos);
    std::string version(GetFileVersionInfoSizeW(path.c_str(), nullptr), '\0');
    REQUIRE(GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(version.size()), version.data()));
    const auto value = [&](const std::wstring& block) {
        void* found = nullptr;
        UINT size = 0;
        REQUIRE(VerQueryValueW(version.data(), block.c_str(), &found, &size));
        return found;
    };
    const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(value(L"\\"));
    CHECK((fixed->dwFileVersionMS == 0x20004 && fixed->dwFileVersionLS == 0x10000));
    CHECK((fixed->dwProductVersionMS == 0x20004 && fixed->dwProductVersionLS == 0x10000));
    std::wstring texts;
    for (const std::wstring& name :
         Words(L"CompanyName FileDescription ProductName OriginalFilename FileVersion ProductVersion"))
        texts +=
            static_cast<const wchar_t*>(value(L"\\StringFileInfo\\080404B0\\" + name)) + std::wstring(L"|");
    CHECK(texts ==
          L"Velkor|Velkor版合区ID重复查询工具|Velkor版合区ID重复查询工具|MergeAccountQuery.exe|2.4.1|2.4.1|");
}
