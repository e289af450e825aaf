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

# C++ without its run-time library: no exceptions, no run-time types, no guards of local statics. sqrt becomes the instruction.
add_library(sarvo_library_flags INTERFACE)
target_link_libraries(sarvo_library_flags INTERFACE sarvo_flags)
target_compile_options(sarvo_library_flags INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions> $<$<COMPILE_LANGUAGE:CXX>:-fno-rtti>
  $<$<COMPILE_LANGUAGE:CXX>:-fno-threadsafe-statics> -fno-math-errno -fvisibility=hidden)

# Limits what a shared library exports to the names listed in a file, one to a line.
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
      -Wl,-z,defs)
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
  endif()
endfunction()
