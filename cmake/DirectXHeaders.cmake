# DirectX-Headers, 1.614 or later, as the target directx_headers.
#
# On Linux the headers lie among the system's own, which must not be on a cross compiler's path: a folder in the build
# tree links to just the two that are wanted. On Windows install them with a package manager and name the folder that
# holds directx/ in ORVANE_DIRECTX_HEADERS unless CMake finds it.
if(TARGET directx_headers)
  return()
endif()

if(CMAKE_HOST_WIN32)
  find_path(ORVANE_DIRECTX_HEADERS directx/DirectML.h REQUIRED)
else()
  set(ORVANE_DIRECTX_HEADERS ${PROJECT_BINARY_DIR}/directx-headers)
  file(MAKE_DIRECTORY ${ORVANE_DIRECTX_HEADERS})
  foreach(folder directx dxguids)
    if(NOT EXISTS /usr/include/${folder})
      message(FATAL_ERROR "DirectX-Headers are missing: ./dev setup installs them")
    endif()
    file(CREATE_LINK /usr/include/${folder} ${ORVANE_DIRECTX_HEADERS}/${folder} SYMBOLIC)
  endforeach()
endif()

add_library(directx_headers INTERFACE)
target_include_directories(directx_headers SYSTEM INTERFACE ${ORVANE_DIRECTX_HEADERS})
# The helper routines name interface identifiers as variables.
