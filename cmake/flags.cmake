# Flags of every target (sarvo_flags) and of the two libraries (sarvo_library_flags).

# The bit contract: every operation rounds by itself, everywhere.
add_library(sarvo_flags INTERFACE)
target_compile_options(sarvo_flags INTERFACE
  -ffp-contract=off -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
target_compile_definitions(sarvo_flags INTERFACE $<$<PLATFORM_ID:Linux>:_GNU_SOURCE>)
if(SARVO_SANITIZE)
  target_compile_options(sarvo_flags INTERFACE -fsanitize=${SARVO_SANITIZE} -fno-omit-frame-pointer)
  target_link_options(sarvo_flags INTERFACE -fsanitize=${SARVO_SANITIZE})
  if(SARVO_SANITIZE MATCHES "undefined")
    target_compile_options(sarvo_flags INTERFACE -fsanitize=float-cast-overflow -fno-sanitize-recover=all)
    target_link_options(sarvo_flags INTERFACE -fsanitize=float-cast-overflow)
  endif()
endif()

# Programs, which use the C++ library.
add_library(sarvo_program_flags INTERFACE)
target_link_libraries(sarvo_program_flags INTERFACE sarvo_flags)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  target_compile_options(sarvo_program_flags INTERFACE -Wno-restrict) # GCC 12 sees an overlap inside std::string's operator+ (bug 105651)
endif()

# The command and what goes with it read what strangers wrote.
add_library(sarvo_hardened_flags INTERFACE)
target_compile_options(sarvo_hardened_flags INTERFACE -fstack-protector-strong)
if(NOT SARVO_SANITIZE) # these have checks of their own at the same places
  target_compile_options(sarvo_hardened_flags INTERFACE
    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE> $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=2>)
endif()
if(NOT APPLE)
  target_link_options(sarvo_hardened_flags INTERFACE -Wl,-z,relro -Wl,-z,now)
endif()

# C++ without its run-time library: no exceptions, no run-time types, no guards of local statics. sqrt becomes the instruction.
add_library(sarvo_library_flags INTERFACE)
target_link_libraries(sarvo_library_flags INTERFACE sarvo_flags)
target_compile_options(sarvo_library_flags INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions> $<$<COMPILE_LANGUAGE:CXX>:-fno-rtti>
  $<$<COMPILE_LANGUAGE:CXX>:-fno-threadsafe-statics> -fno-math-errno -fvisibility=hidden)

# Limits what a shared library exports to the names listed in a file, one to a line. Its own calls of exported functions
# are bound when it is linked: a program that has a function of the same name is not called instead. Data are not bound:
# a program at a fixed address holds copies of them, which the library must use, too.
function(sarvo_export_only target list)
  file(STRINGS ${list} names REGEX "^[A-Za-z_]")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list})
  if(APPLE)
    list(TRANSFORM names PREPEND "_")
    string(REPLACE ";" "\n" text "${names}")
    file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${target}.exports CONTENT "${text}\n")
    target_link_options(${target} PRIVATE
      -Wl,-exported_symbols_list,${CMAKE_CURRENT_BINARY_DIR}/${target}.exports)
  else()
    string(REPLACE ";" ";\n    " text "${names}")
    file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${target}.map
      CONTENT "{\n  global:\n    ${text};\n  local: *;\n};\n")
    target_link_options(${target} PRIVATE -Wl,--version-script=${CMAKE_CURRENT_BINARY_DIR}/${target}.map
      -Wl,-z,defs -Wl,-Bsymbolic-functions)
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
  endif()
endfunction()

# sarvo_only_object(variable name export-list OBJECTS...): the objects as one, whose only names are those of the list; so a
# program that links the static library meets no others, and the library's calls are bound to its own functions. On
# macOS the objects as they are.
function(sarvo_only_object variable name list)
  if(APPLE)
    set(${variable} ${ARGN} PARENT_SCOPE)
    return()
  endif()
  if(NOT CMAKE_OBJCOPY)
    message(FATAL_ERROR "objcopy is needed for the static libraries")
  endif()
  file(STRINGS ${list} names REGEX "^[A-Za-z_]")
  string(REPLACE ";" "\n" text "${names}")
  set(keep ${CMAKE_CURRENT_BINARY_DIR}/${name}.names)
  set(whole ${CMAKE_CURRENT_BINARY_DIR}/${name}_whole.o)
  file(CONFIGURE OUTPUT ${keep} CONTENT "${text}\n")
  add_custom_command(OUTPUT ${whole}
    COMMAND ${CMAKE_C_COMPILER} -nostdlib -r -o ${whole}.tmp ${ARGN}
    COMMAND ${CMAKE_OBJCOPY} --keep-global-symbols=${keep} ${whole}.tmp ${whole}
    COMMAND ${CMAKE_COMMAND} -E rm ${whole}.tmp
    DEPENDS ${ARGN} ${keep} COMMENT "Joining the objects of ${name}" COMMAND_EXPAND_LISTS VERBATIM)
  set_source_files_properties(${whole} PROPERTIES EXTERNAL_OBJECT ON GENERATED ON)
  set(${variable} ${whole} PARENT_SCOPE)
endfunction()
