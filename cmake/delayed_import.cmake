# add_delayed_import(NAME) makes the target NAME_import, for a DLL that Windows does not always take from its own
# folder. A program with the property DELAYS_IMPORTS loads that DLL when it first calls one of the functions in
# NAME.def, when main.cpp has seen to where DLLs come from. All others, tests that replace functions among them, have
# the import library of the system.
function(add_delayed_import name)
  add_library(${name}_import INTERFACE)
  set(is_delayed "$<BOOL:$<TARGET_PROPERTY:DELAYS_IMPORTS>>")
  if(MSVC)
    target_link_libraries(${name}_import INTERFACE ${name} $<${is_delayed}:delayimp>)
    target_link_options(${name}_import INTERFACE $<${is_delayed}:/DELAYLOAD:${name}.dll>)
    return()
  endif()
  set(functions "${CMAKE_CURRENT_SOURCE_DIR}/${name}.def")
  set(library "${CMAKE_CURRENT_BINARY_DIR}/lib${name}_delayed.a")
  add_custom_command(OUTPUT "${library}" DEPENDS "${functions}"
    COMMAND ${CMAKE_DLLTOOL} -m i386:x86-64 -d "${functions}" --output-delaylib "${library}")
  add_custom_target(${name}_delayed DEPENDS "${library}")
  add_dependencies(${name}_import ${name}_delayed)
  target_link_libraries(${name}_import INTERFACE $<IF:${is_delayed},${library},${name}>)
endfunction()
