# Warnings are errors, for every target of the project. The project uses no extension of one compiler.
if(MSVC)
  add_compile_options(/W4 /WX /permissive- /utf-8)
  add_compile_definitions(_CRT_SECURE_NO_WARNINGS)
else()
  add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wconversion -Wsign-conversion
                      -Wold-style-cast -Werror)
  if(WIN32)
    # Direct3D's and COM's own headers, included as system headers, expand macros with old-style casts here.
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wno-old-style-cast>)
  endif()
endif()

if(WIN32)
  # 10.0 is the oldest Windows that the library runs on; the narrow limits keep std::min and std::max usable.
  add_compile_definitions(_WIN32_WINNT=0x0A00 WINVER=0x0A00 NOMINMAX WIN32_LEAN_AND_MEAN)
endif()
