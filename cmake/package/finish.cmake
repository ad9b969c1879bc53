# Run by CPack on the installed files, before it packs them: their sums, and one time for all, that of the commit.
file(GLOB_RECURSE files RELATIVE ${CPACK_TEMPORARY_INSTALL_DIRECTORY} ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*)
list(SORT files)
set(sums "")
foreach(file IN LISTS files)
  file(SHA256 ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${file} sum)
  string(APPEND sums "${sum}  ${file}\n")
endforeach()
file(WRITE ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/SHA256SUMS "${sums}")

execute_process(COMMAND find ${CPACK_TEMPORARY_INSTALL_DIRECTORY} -exec touch -h -d @$ENV{SOURCE_DATE_EPOCH} {} +
                COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND find ${CPACK_TEMPORARY_INSTALL_DIRECTORY} -type f -exec chmod 644 {} + COMMAND_ERROR_IS_FATAL ANY)
