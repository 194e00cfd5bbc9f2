#include "discovery/config_directory.h"
#include "discovery/paths.h"
#include "tests/support/temp_directory.h"
#include "tests/support/wide_text.h"

TEST_CASE("the configuration is looked for upward from the image") {
    for (const TextRow& row :
         {TextRow{L"", L""}, TextRow{L"D:\\Game\\mIR200\\M2Server.exe", L"D:\\Game|D:\\Game\\mIR200|D:\\|"},
          TextRow{L"D:\\Mir200\\x\\M2Server.exe", L"D:\\Mir200\\x|D:\\Mir200|D:\\|"},
          TextRow{L"D:\\1\\2\\3\\4\\5\\M2.exe",
                  L"D:\\1\\2\\3\\4\\5|D:\\1\\2\\3\\4|D:\\1\\2\\3|D:\\1\\2|D:\\1|"},
          TextRow{L"D:\\1\\2\\3\\Mir200\\M2.exe", L"D:\\1\\2\\3|D:\\1\\2\\3\\Mir200|D:\\1\\2|D:\\1|D:\\|"}}) {
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
    for (const Row& row :
         {Row{L"G\\bin\\M2Server.exe", L"G\\bin", true, true},
          Row{L"G\\bin\\M2Server.exe", L"G", true, false}, Row{L"G\\bin\\M2Server.exe", L"G", false, true},
          Row{L"G\\Mir200\\M2Server.exe", L"G", true, true},
          Row{L"G\\x\\Mir200\\M2Server.exe", L"G\\x\\Mir200", true, true},
          Row{L"G\\1\\2\\3\\4\\M2Server.exe", L"G", false, false},
          Row{L"G\\1\\2\\3\\4\\5\\M2Server.exe", L"", false, false}}) {
        CAPTURE(row.image);
        const TempDirectory place;
        const std::wstring beside(ParentPath(row.image));
        place.Make(beside + L"\\Config.ini");  // a directory of that name does not pass
        for (const std::wstring& directory : {std::wstring(L"G"), beside}) {
            if (directory == L"G" || row.json) place.Write(directory + L"\\Config.Json", "");
            if (directory != L"G" && !row.ini) continue;
            if (directory == beside) std::filesystem::remove(place.At(beside + L"\\Config.ini"));
            place.Write(directory + L"\\Config.ini", "");
        }
        std::wstring directory = place.At(L"");
        CHECK(FindServerConfigDirectory(place.At(row.image), directory) == !row.found.empty());
        CHECK(directory == place.At(row.found));
    }
}
