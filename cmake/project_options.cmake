# Every target of the project links project_options: warnings, definitions and run-time checks.
# project_warnings is the part without run-time checks, for demo/ and window_driver/.
add_library(project_warnings INTERFACE)
add_library(project_options INTERFACE)
target_link_libraries(project_options INTERFACE project_warnings)

# Against faults that are found from outside, every build of the program has randomised addresses and data that cannot be
# executed (either linker's default) and a secret in front of return addresses: Microsoft's /GS, which is its default,
# or GCC's stack protector. Control flow guard (/guard:cf) and shadow stacks (/CETCOMPAT) have Microsoft's builds alone:
# GCC makes neither for Windows.
target_compile_definitions(project_warnings INTERFACE
  UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX STRICT _WIN32_WINNT=0x0601 WINVER=0x0601)

if(MSVC)
  # The static run-time keeps the program one file. The manifest comes from src/resources/app.rc, not from the linker.
  set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
  target_compile_options(project_warnings INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:/W4 /WX /permissive- /utf-8 /EHsc /Gy /guard:cf>)
  target_compile_definitions(project_warnings INTERFACE _CRT_SECURE_NO_WARNINGS)
  # The tool is started from download folders: DLLs come from the system folder alone (0x800). Windows knows this from
  # version 10 1607 on; cmake/delayed_import.cmake serves the others.
  target_link_options(project_warnings INTERFACE /MANIFEST:NO /guard:cf /CETCOMPAT /DEPENDENTLOADFLAG:0x800
    $<$<CONFIG:Release>:/OPT:REF> $<$<CONFIG:Release>:/OPT:ICF>)
else()
  target_compile_options(project_warnings INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wshadow -Wconversion -Werror -municode>
    $<$<COMPILE_LANGUAGE:CXX>:-ffunction-sections -fdata-sections>)
  # Without the time of linking, the same sources give the same bytes.
  target_link_options(project_warnings INTERFACE -municode -static -Wl,--gc-sections -Wl,--no-insert-timestamp
    $<$<CONFIG:Release>:-s>)
  # Checks that need no run-time library: MinGW ships neither libasan nor libubsan.
  target_compile_definitions(project_options INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
  target_compile_options(project_options INTERFACE
    $<$<AND:$<CONFIG:Debug>,$<COMPILE_LANGUAGE:CXX>>:-fsanitize=undefined
      -fsanitize-undefined-trap-on-error>)
  # What it calls comes with each program, not from GCC: the source says why.
  target_compile_options(project_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fstack-protector-strong>)
  target_link_options(project_options INTERFACE -fstack-protector-strong)
  target_sources(project_options INTERFACE
    $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:${PROJECT_SOURCE_DIR}/src/app/stack_guard.cpp>)
endif()
