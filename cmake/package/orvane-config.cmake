# The target orvane::orvane: liborvane.dll with its import library and headers.
#
#     find_package(orvane 1.0 CONFIG REQUIRED)
#     target_link_libraries(player PRIVATE orvane::orvane)
#
# A host that loads the library at run time (orvane.hpp, Library::Load) links orvane::headers instead. $<TARGET_FILE:
# orvane::orvane> is the DLL, to be copied beside the host; ORVANE_WEIGHTS is the folder with the models.
if(TARGET orvane::orvane)
  return()
endif()
if(NOT WIN32 OR NOT CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(orvane_FOUND FALSE)
  set(orvane_NOT_FOUND_MESSAGE "orvane is a library for 64-bit Windows")
  return()
endif()

get_filename_component(orvane_root ${CMAKE_CURRENT_LIST_DIR}/../../.. ABSOLUTE)
set(ORVANE_WEIGHTS ${orvane_root}/bin/weights)

add_library(orvane::headers INTERFACE IMPORTED)
target_include_directories(orvane::headers INTERFACE ${orvane_root}/include)

add_library(orvane::orvane SHARED IMPORTED)
set_target_properties(orvane::orvane PROPERTIES
  IMPORTED_LOCATION ${orvane_root}/bin/liborvane.dll
  INTERFACE_LINK_LIBRARIES orvane::headers)
if(MINGW)
  set_target_properties(orvane::orvane PROPERTIES IMPORTED_IMPLIB ${orvane_root}/lib/liborvane.dll.a)
else()
  set_target_properties(orvane::orvane PROPERTIES IMPORTED_IMPLIB ${orvane_root}/lib/orvane.lib)
endif()
unset(orvane_root)
