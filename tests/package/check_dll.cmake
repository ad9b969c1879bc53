# Checks what liborvane.dll exports and imports, and that a release is stripped.
#   cmake -DOBJDUMP=... -DDLL=... -DSTRIPPED=0|1 -P check_dll.cmake
execute_process(COMMAND ${OBJDUMP} -p ${DLL} OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)

# Newer versions have a head line and more columns before the name.
string(REGEX MATCH "Ordinal/Name Pointer\\] Table[^\n]*\n(\t[^\n]*\n)+" names "${headers}")
string(REGEX MATCHALL "\t\\[ *[0-9]+\\][^\n]+" exports "${names}")
list(TRANSFORM exports REPLACE ".* " "")
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/../../api/liborvane.def expected REGEX "^    ")
list(TRANSFORM expected STRIP)
if(NOT "${exports}" STREQUAL "${expected}")
  message(FATAL_ERROR "exports: ${exports}")
endif()

# Direct3D and DirectML are loaded at run time. Only Windows' own libraries may be imported.
string(REGEX MATCHALL "DLL Name: [^\n]+" imports "${headers}")
list(TRANSFORM imports REPLACE "DLL Name: " "")
foreach(import ${imports})
  string(TOLOWER "${import}" import)
  if(NOT import MATCHES "^(kernel32|msvcrt|ucrtbase|ole32|api-ms-win-crt-.*)\\.dll$")
    message(FATAL_ERROR "imports: ${imports}")
  endif()
endforeach()

execute_process(COMMAND ${OBJDUMP} -h -t ${DLL} OUTPUT_VARIABLE sections COMMAND_ERROR_IS_FATAL ANY)
if(STRIPPED AND (sections MATCHES "\\.debug_" OR NOT sections MATCHES "no symbols"))
  message(FATAL_ERROR "the release is not stripped")
endif()
if(NOT sections MATCHES "\\.rsrc")
  message(FATAL_ERROR "there is no version resource")
endif()
file(SIZE ${DLL} size)
message("${DLL}: ${size} bytes, exports ${exports}, imports ${imports}")
