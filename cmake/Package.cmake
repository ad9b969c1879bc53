# What is installed, and the ZIP archive of it: the same bytes from the same commit, in whatever folder it is built.
# `./dev package` runs it. For MinGW, whose programs need nothing beside themselves but Windows.
include(GNUInstallDirs)
set(folder ${CMAKE_CURRENT_BINARY_DIR}/package)
set(ORVANE_CMAKE_DIR lib/cmake/orvane)

# --- Import libraries for both families of compilers, from one list of exports ---
find_program(ORVANE_LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-19 llvm-dlltool-14 REQUIRED
             DOC "Makes the import library for Visual C++")
set(exports ${PROJECT_SOURCE_DIR}/api/liborvane.def)
file(MAKE_DIRECTORY ${folder})
# By names without a folder, since dlltool makes symbols of them.
add_custom_command(
  OUTPUT ${folder}/orvane.lib ${folder}/liborvane.dll.a
  COMMAND ${ORVANE_LLVM_DLLTOOL} -m i386:x86-64 -d ${exports} -l orvane.lib
  COMMAND ${CMAKE_DLLTOOL} --deterministic-libraries --temp-prefix liborvane -d ${exports} -l liborvane.dll.a
  WORKING_DIRECTORY ${folder}
  DEPENDS ${exports}
  VERBATIM)
add_custom_target(orvane_import_libraries ALL DEPENDS ${folder}/orvane.lib ${folder}/liborvane.dll.a)

# --- For find_package and pkg-config ---
include(CMakePackageConfigHelpers)
configure_file(${PROJECT_SOURCE_DIR}/cmake/package/orvane.pc.in ${folder}/orvane.pc @ONLY)
write_basic_package_version_file(${folder}/orvane-config-version.cmake COMPATIBILITY SameMajorVersion)

# --- What goes where ---
install(TARGETS orvane orvane_cli RUNTIME DESTINATION bin)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/weights/ DESTINATION bin/weights
        FILES_MATCHING PATTERN "*.en" PATTERN "*.json" PATTERN "*.md" PATTERN "*.png")
install(FILES ${PROJECT_BINARY_DIR}/apps/orvane/interpolating.en ${PROJECT_BINARY_DIR}/apps/orvane/interpolating.json
        DESTINATION bin/weights)
install(FILES api/orvane.h api/orvane.hpp DESTINATION include)
install(FILES ${folder}/orvane.lib ${folder}/liborvane.dll.a DESTINATION lib)
install(FILES cmake/package/orvane-config.cmake ${folder}/orvane-config-version.cmake DESTINATION ${ORVANE_CMAKE_DIR})
install(FILES ${folder}/orvane.pc DESTINATION lib/pkgconfig)
install(DIRECTORY examples/c examples/cpp examples/node examples/python DESTINATION examples)
install(DIRECTORY docs DESTINATION .)
install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md LICENSE DESTINATION .)
# What is linked into the DLL and the programs: by Debian's package, each with its authors and terms.
foreach(package libcli11-dev nlohmann-json3-dev libz-mingw-w64-dev directx-headers-dev mingw-w64-x86-64-dev
                gcc-mingw-w64-base)
  install(FILES /usr/share/doc/${package}/copyright DESTINATION licences RENAME ${package}.txt)
endforeach()

# --- The archive ---
set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME orvane)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_SYSTEM_NAME win64)
set(CPACK_PACKAGE_FILE_NAME orvane-${PROJECT_VERSION}-win64)
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/build/package)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/package/finish.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/package/repack.cmake)
set(CPACK_VERBATIM_VARIABLES ON)
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)
include(CPack)
