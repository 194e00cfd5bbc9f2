# The second compiler: Debian's clang for the same target, on the headers and libraries of Debian's MinGW-w64.
include("${CMAKE_CURRENT_LIST_DIR}/mingw_w64.cmake")
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-windows-gnu)
# It does not know where Debian keeps those headers and would use the host's.
execute_process(COMMAND x86_64-w64-mingw32-g++-posix -print-libgcc-file-name
  OUTPUT_VARIABLE libgcc_file OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
cmake_path(GET libgcc_file PARENT_PATH gcc_folder)
string(JOIN " " CMAKE_CXX_FLAGS_INIT -nostdlibinc
  -isystem "${gcc_folder}/include/c++" -isystem "${gcc_folder}/include/c++/x86_64-w64-mingw32"
  -isystem /usr/x86_64-w64-mingw32/include)
# The POSIX-threads variant of the run-time needs the threads library. GNU ld reports a function as defined twice when
# only one of the two compilers puts it into the section of rarely called code; LLVM's linker accepts that.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fuse-ld=lld -Wno-unused-command-line-argument -B ${gcc_folder} -L ${gcc_folder} -pthread")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${CMAKE_EXE_LINKER_FLAGS_INIT}")
