# The second compiler: Debian's clang for the same target, on the headers and libraries of Debian's MinGW-w64.
include("${CMAKE_CURRENT_LIST_DIR}/mingw_w64.cmake")
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-windows-gnu)
# It does not know where Debian keeps those headers and would use the host's.
set(gcc_folder /usr/lib/gcc/x86_64-w64-mingw32/12-posix)
string(JOIN " " CMAKE_CXX_FLAGS_INIT -nostdlibinc
  -isystem "${gcc_folder}/include/c++" -isystem "${gcc_folder}/include/c++/x86_64-w64-mingw32"
  -isystem /usr/x86_64-w64-mingw32/include)
# The POSIX-threads variant of the run-time needs the threads library.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wno-unused-command-line-argument -B ${gcc_folder} -L ${gcc_folder} -pthread")
