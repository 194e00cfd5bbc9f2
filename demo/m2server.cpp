// Stands in for a running game server: a process of the right name that runs until it is ended.

#include <windows.h>

#include <cstdio>

int wmain() {
    SetConsoleOutputCP(CP_UTF8);
    std::fputs("M2Server 演示进程已启动，关闭本窗口即可结束。\n", stdout);
    std::fflush(stdout);
    Sleep(INFINITE);
    return 0;
}
