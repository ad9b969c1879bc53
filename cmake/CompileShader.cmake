# compile_shader(shaders/NAME.hlsl): compiles a compute shader to shader model 5.0 and writes NAME.h, with the bytecode in
# the array g_NAME, into the shaders/ folder of the current build folder.
if(CMAKE_HOST_WIN32)
  find_program(ORVANE_FXC fxc REQUIRED HINTS "$ENV{WindowsSdkVerBinPath}/x64"
               DOC "The HLSL compiler of the Windows SDK")
  set(ORVANE_SHADER_COMPILER ${ORVANE_FXC} /nologo /O3 /WX)
else()
  # The same compiler as a DLL, driven by a small program under Wine.
  set(ORVANE_WINDOWS_LIBRARIES ${PROJECT_SOURCE_DIR}/build/windows-libraries
      CACHE PATH "Folder with DirectML.dll and d3dcompiler_47.dll; ./dev setup fills it")
  if(NOT EXISTS ${ORVANE_WINDOWS_LIBRARIES}/d3dcompiler_47.dll)
    message(FATAL_ERROR "d3dcompiler_47.dll is missing: ./dev setup fetches it")
  endif()
  add_executable(compile_shader ${PROJECT_SOURCE_DIR}/tools/compile_shader.cpp)
  set_target_properties(compile_shader PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tools)
  file(COPY ${ORVANE_WINDOWS_LIBRARIES}/d3dcompiler_47.dll DESTINATION ${PROJECT_BINARY_DIR}/tools)
  set(ORVANE_SHADER_COMPILER compile_shader)
endif()

function(compile_shader source)
  get_filename_component(name ${source} NAME_WE)
  set(header ${CMAKE_CURRENT_BINARY_DIR}/shaders/${name}.h)
  file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/shaders)
  add_custom_command(
    OUTPUT ${header}
    COMMAND ${ORVANE_SHADER_COMPILER} /T cs_5_0 /E main /Vn g_${name} /Fh ${header}
            ${CMAKE_CURRENT_SOURCE_DIR}/${source}
    MAIN_DEPENDENCY ${CMAKE_CURRENT_SOURCE_DIR}/${source}
    COMMENT "Compiling shader ${name}"
    VERBATIM)
endfunction()
