#include "window_driver.h"

#include <array>

#include "failure.h"

namespace desk {

std::wstring ShownText(HWND control) {
    std::array<wchar_t, 1024> text{};
    const int length = InternalGetWindowText(control, text.data(), static_cast<int>(text.size()));
    return std::wstring(text.data(), static_cast<std::size_t>(length));
}

HCURSOR Cursor() {
    CURSORINFO info{};
    info.cbSize = sizeof info;
    if (!GetCursorInfo(&info)) Fail("no mouse pointer");
    return info.hCursor;
}

std::string Pixels(HWND window) {
    const RECT place = ScreenRect(window);
    const int width = place.right - place.left, height = place.bottom - place.top;
    std::string pixels(static_cast<std::size_t>(width * height) * sizeof(RGBQUAD), '\0');
    BITMAPINFO format{};
    format.bmiHeader = {sizeof format.bmiHeader, width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    const HDC screen = GetDC(nullptr), memory = CreateCompatibleDC(screen);
    const HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
    const HGDIOBJ before = SelectObject(memory, bitmap);
    BitBlt(memory, 0, 0, width, height, screen, place.left, place.top, SRCCOPY);
    SelectObject(memory, before);
    const int lines =
        GetDIBits(screen, bitmap, 0, static_cast<UINT>(height), pixels.data(), &format, DIB_RGB_COLORS);
    DeleteObject(bitmap);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
    if (lines != height) Fail("no picture of a window");
    return pixels;
}

int Yellowness(HWND window) {
    const std::string pixels = Pixels(window);
    int yellow = 0;
    for (std::size_t at = 0; at < pixels.size(); at += sizeof(RGBQUAD)) {
        const auto blue = static_cast<unsigned char>(pixels[at]),
                   red = static_cast<unsigned char>(pixels[at + 2]);
        yellow += red - blue;
    }
    return yellow;
}

bool IsInMemory(HANDLE process, std::string_view bytes) {
    MEMORY_BASIC_INFORMATION region{};
    std::string memory;
    while (VirtualQueryEx(process, static_cast<char*>(region.BaseAddress) + region.RegionSize, &region,
                          sizeof region) != 0) {
        if (region.State != MEM_COMMIT || region.Type != MEM_PRIVATE) continue;
        memory.assign(region.RegionSize, '\0');
        ReadProcessMemory(process, region.BaseAddress, memory.data(), memory.size(), nullptr);
        if (memory.find(bytes) != memory.npos) return true;
    }
    return false;
}

}  // namespace desk
