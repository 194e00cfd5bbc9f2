#include "bench/private_memory.h"

#include <cwctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace {

std::string HostFile(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace

double PrivateKilobytes(const std::string& program) {
    for (const auto& entry : std::filesystem::directory_iterator(L"Z:\\proc")) {
        const std::filesystem::path process = entry.path();
        if (!iswdigit(process.filename().wstring().front())) continue;
        if (HostFile(process / "comm") != program.substr(0, 15) + "\n") continue;
        if (HostFile(process / "environ").find("/wine/bench/prefix") == std::string::npos) continue;
        constexpr std::string_view kLine = "Private_Dirty:";
        const std::string totals = HostFile(process / "smaps_rollup");
        return std::stod(totals.substr(totals.find(kLine) + kLine.size()));
    }
    throw std::runtime_error("the host does not know " + program);
}
