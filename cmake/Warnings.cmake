# Warnings are errors, for every target of the project, unless it is a part of another. The project uses no extension of
# one compiler.
set(CMAKE_COMPILE_WARNING_AS_ERROR ${PROJECT_IS_TOP_LEVEL})
if(MSVC)
  add_compile_options(/W4 /permissive- /utf-8)
  add_compile_definitions(_CRT_SECURE_NO_WARNINGS)
else()
  add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
                      $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>)
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 13)
    # What GCC believes of values after inlining changes from release to release, and newer ones are wrong about the
    # standard library: it stays a warning.
    add_compile_options(-Wno-error=maybe-uninitialized)
  endif()
  if(NOT WIN32)
    # On Windows the system's own macros expand to such casts.
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>)
  endif()
endif()

if(WIN32)
  # 10.0 is the oldest Windows that the library runs on; the narrow limits keep std::min and std::max usable.
  add_compile_definitions(_WIN32_WINNT=0x0A00 WINVER=0x0A00 NOMINMAX WIN32_LEAN_AND_MEAN)
endif()
