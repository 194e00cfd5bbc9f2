#include "support/temp_directory.h"
#include "support/wide_text.h"

// What lies in the program's file.
struct ProgramFile {
    const std::wstring path = ProgramToStart();
    const HMODULE module = LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);

    std::string Resource(const wchar_t* type, int id) const {
        REQUIRE(module != nullptr);
        const HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(id), type);
        REQUIRE(found != nullptr);
        return std::string(static_cast<const char*>(LockResource(LoadResource(module, found))),
                           SizeofResource(module, found));
    }
};

TEST_CASE("the program's file has its icon in every size") {
    std::string sizes;  // one entry of 14 bytes for each picture, its width first; 0 means 256
    const std::string icon = ProgramFile().Resource(RT_GROUP_ICON, 101);
    for (size_t entry = 6; entry < icon.size(); entry += 14) sizes += std::to_string(icon[entry]) + " ";
    CHECK(sizes == "16 20 24 32 48 64 0 ");
}

TEST_CASE("the program's manifest asks for the controls and for sharp drawing and for no more") {
    const std::string manifest = ProgramFile().Resource(RT_MANIFEST, 1);
    CAPTURE(manifest);
    for (const auto& [part, isThere] :
         {std::pair(R"(name="Microsoft.Windows.Common-Controls" version="6.0.0.0")", true),
          {R"(publicKeyToken="6595b64144ccf1df")", true},
          {R"(level="asInvoker" uiAccess="false")", true},
          {"{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}", true},
          {"<gdiScaling xmlns=", true},
          {">true</gdiScaling>", true},
          {"activeCodePage", false},
          {"dpiAware", false}}) {
        CAPTURE(part);
        CHECK((manifest.find(part) != manifest.npos) == isThere);
    }
}

TEST_CASE("the program's file tells its version") {
    const std::wstring path = ProgramToStart();
    std::string version(GetFileVersionInfoSizeW(path.c_str(), nullptr), '\0');
    REQUIRE(GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(version.size()), version.data()));
    const auto value = [&](const std::wstring& block) {
        void* found = nullptr;
        UINT size = 0;
        REQUIRE(VerQueryValueW(version.data(), block.c_str(), &found, &size));
        return found;
    };
    const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(value(L"\\"));
    for (const auto& [high, low] : {std::pair(fixed->dwFileVersionMS, fixed->dwFileVersionLS),
                                    {fixed->dwProductVersionMS, fixed->dwProductVersionLS}}) {
        CHECK(high == MAKELONG(4, 2));
        CHECK(low == MAKELONG(0, 1));
    }
    for (const auto& [name, expected] : {std::pair(L"CompanyName", L"Velkor"),
                                         {L"FileDescription", L"Velkor版合区ID重复查询工具"},
                                         {L"ProductName", L"Velkor版合区ID重复查询工具"},
                                         {L"OriginalFilename", L"MergeAccountQuery.exe"},
                                         {L"FileVersion", L"2.4.1"},
                                         {L"ProductVersion", L"2.4.1"}}) {
        CAPTURE(name);
        const void* text = value(L"\\StringFileInfo\\080404B0\\" + std::wstring(name));
        CHECK(std::wstring(static_cast<const wchar_t*>(text)) == expected);
    }
}
