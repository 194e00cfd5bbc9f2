#include <doctest/doctest.h>

#include "discovery/config_directory.h"
#include "discovery/paths.h"
#include "tests/support/temp_directory.h"
#include "tests/support/wide_text.h"

TEST_CASE("paths are walked as texts") {
    struct Row {
        std::wstring_view path, parent, last;
    };
    const Row rows[] = {{L"C:\\Game\\M2Server.exe", L"C:\\Game", L"M2Server.exe"},
                        {L"C:\\Game", L"C:\\", L"Game"},
                        {L"C:\\", L"C:\\", L""},
                        {L"C:/Game//Mir200", L"C:/Game", L"Mir200"},
                        {L"\\\\server\\share\\区服", L"\\\\server\\share", L"区服"},
                        {L"M2Server.exe", L"", L"M2Server.exe"}};
    for (const Row& row : rows) {
        CHECK(ParentPath(row.path) == row.parent);
        CHECK(LastComponent(row.path) == row.last);
    }
    CHECK(JoinPath(L"C:\\Game", L"Config.ini") == L"C:\\Game\\Config.ini");
    CHECK(JoinPath(L"C:\\", L"Config.ini") == L"C:\\Config.ini");
}

TEST_CASE("the configuration is looked for upward from the image") {
    const TextRow rows[] = {{L"", L""},
                            {L"D:\\M2Server.exe", L"D:\\|"},
                            {L"D:\\Game\\mIR200\\M2Server.exe", L"D:\\Game|D:\\Game\\mIR200|D:\\|"},
                            {L"D:\\Mir200\\x\\M2Server.exe", L"D:\\Mir200\\x|D:\\Mir200|D:\\|"},
                            {L"D:\\1\\2\\3\\4\\5\\6\\M2.exe",
                             L"D:\\1\\2\\3\\4\\5\\6|D:\\1\\2\\3\\4\\5|D:\\1\\2\\3\\4|D:\\1\\2\\3|D:\\1\\2|"},
                            {L"D:\\1\\2\\3\\4\\Mir200\\M2.exe",
                             L"D:\\1\\2\\3\\4|D:\\1\\2\\3\\4\\Mir200|D:\\1\\2\\3|D:\\1\\2|D:\\1|"}};
    for (const TextRow& row : rows) {
        std::wstring directories;
        for (const std::wstring& directory : ConfigDirectoryCandidates(row.in))
            directories += directory + L"|";
        CHECK(directories == row.expected);
    }
}

TEST_CASE("the configuration directory is found on the disk") {
    struct Row {
        std::wstring_view image, found;  // below a directory G that holds both files
        bool json, ini;                  // the files that lie beside the image
    };
    const Row rows[] = {{L"G\\M2Server.exe", L"G", true, true},
                        {L"G\\bin\\M2Server.exe", L"G\\bin", true, true},
                        {L"G\\bin\\M2Server.exe", L"G", true, false},
                        {L"G\\bin\\M2Server.exe", L"G", false, true},
                        {L"G\\Mir200\\M2Server.exe", L"G", true, true},
                        {L"G\\x\\Mir200\\M2Server.exe", L"G\\x\\Mir200", true, true},
                        {L"G\\1\\2\\3\\4\\M2Server.exe", L"G", false, false},
                        {L"G\\1\\2\\3\\4\\5\\M2Server.exe", L"", false, false}};
    for (const Row& row : rows) {
        CAPTURE(row.image);
        const TempDirectory place;
        const std::wstring beside(ParentPath(row.image));
        place.Make(beside);
        for (const std::wstring& directory : {std::wstring(L"G"), beside}) {
            if (directory == L"G" || row.json) place.Write(directory + L"\\Config.Json", "");
            if (directory == L"G" || row.ini) place.Write(directory + L"\\Config.ini", "");
        }
        std::wstring directory = place.At(L"");
        CHECK(FindServerConfigDirectory(place.At(row.image), directory) == !row.found.empty());
        CHECK(directory == place.At(row.found));
    }
}

TEST_CASE("a directory does not pass for a configuration file") {
    const TempDirectory place;
    place.Write(L"G\\Config.Json", "");
    place.Make(L"G\\Config.ini");
    std::wstring directory;
    CHECK_FALSE(FindServerConfigDirectory(place.At(L"G\\M2Server.exe"), directory));
    CHECK_FALSE(FindServerConfigDirectory(L"", directory));
}
