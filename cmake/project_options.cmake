# Every target of the project links project_options: warnings, definitions and run-time checks.
# project_warnings is the part without run-time checks, for demo/ and window_driver/.
add_library(project_warnings INTERFACE)
add_library(project_options INTERFACE)
target_link_libraries(project_options INTERFACE project_warnings)

target_compile_definitions(project_warnings INTERFACE
  UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX STRICT _WIN32_WINNT=0x0601 WINVER=0x0601)

if(MSVC)
  # The static run-time keeps the program one file. The manifest comes from src/resources/app.rc, not from the linker.
  set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
  target_compile_options(project_warnings INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:/W4 /WX /permissive- /utf-8 /EHsc /Gy /guard:cf>)
  target_compile_definitions(project_warnings INTERFACE _CRT_SECURE_NO_WARNINGS)
  # The tool is started from download folders: DLLs come from the system folder alone (0x800).
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
      -fsanitize-undefined-trap-on-error -fstack-protector-strong>)
  target_link_options(project_options INTERFACE $<$<CONFIG:Debug>:-fstack-protector-strong>)
endif()
