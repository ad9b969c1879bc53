# Run by CPack on the archive that it has made. That one lists the files as the file system does, with their owner and the
# time of the last look at them; this one has them by name, with nothing but contents, permissions and time.
get_filename_component(folder ${CPACK_TEMPORARY_INSTALL_DIRECTORY} DIRECTORY)
file(GLOB_RECURSE files RELATIVE ${folder} ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*)
list(SORT files)
list(JOIN files "\n" names)
file(WRITE ${folder}/names "${names}\n")
file(REMOVE ${CPACK_PACKAGE_FILES})
set(ENV{TZ} UTC) # an archive has local times
execute_process(COMMAND zip -q -X -9 ${CPACK_PACKAGE_FILES} -@ INPUT_FILE ${folder}/names WORKING_DIRECTORY ${folder}
                COMMAND_ERROR_IS_FATAL ANY)
