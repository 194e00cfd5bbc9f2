#include "support/temp_directory.h"
#include "support/wide_text.h"

// What lies in the program's file under a type and a number.
static std::string Resource(const wchar_t* type, int id) {
    const HMODULE module = LoadLibraryExW(ProgramToStart().c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    REQUIRE(module != nullptr);
    const HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(id), type);
    REQUIRE(found != nullptr);
    return {static_cast<const char*>(LockResource(LoadResource(module, found))),
            SizeofResource(module, found)};
}

TEST_CASE("the program's file has its icon in every size") {
    std::string sizes;  // one entry of 14 bytes for each picture, its width first; 0 means 256
    const std::string icon = Resource(RT_GROUP_ICON, 101);
    for (size_t entry = 6; entry < icon.size(); entry += 14) sizes += std::to_string(icon[entry]) + " ";
    CHECK(sizes == "16 20 24 32 48 64 0 ");
}

TEST_CASE("the program's manifest asks for the controls and for sharp drawing and for no more") {
    const std::string manifest = Resource(RT_MANIFEST, 1);
    CAPTURE(manifest);
    for (const auto& [part, isThere] :
         Table({std::pair(R"(name="Microsoft.Windows.Common-Controls" version="6.0.0.0")", true),
                {R"(publicKeyToken="6595b64144ccf1df")", true},
                {R"(level="asInvoker" uiAccess="false")", true},
                {"{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}", true},
                {"<gdiScaling xmlns=", true},
                {">true</gdiScaling>", true},
                {"activeCodePage", false},
                {"dpiAware", false}}))
        CHECK((manifest.find(part) != manifest.npos) == isThere);
}

TEST_CASE("the program's file tells what it is") {
    const std::wstring path = ProgramToStart();
    std::string version(GetFileVersionInfoSizeW(path.c_str(), nullptr), '\0');
    REQUIRE(GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(version.size()), version.data()));
    for (const auto& [name, expected] : Table({std::pair(L"CompanyName", L"Velkor"),
                                               {L"FileDescription", L"Velkor版合区ID重复查询工具"},
                                               {L"ProductName", L"Velkor版合区ID重复查询工具"},
                                               {L"OriginalFilename", L"MergeAccountQuery.exe"},
                                               {L"FileVersion", L"2.4.1"}})) {
        void* text = nullptr;
        UINT units = 0;
        REQUIRE(VerQueryValueW(version.data(), (L"\\StringFileInfo\\080404B0\\" + std::wstring(name)).c_str(),
                               &text, &units));
        CHECK(std::wstring(static_cast<const wchar_t*>(text)) == expected);
    }
}
