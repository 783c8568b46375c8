# Puts MinGW's own libraries beside ours. All share them: texts and exceptions cross the borders of
# our libraries, so that none may have its own.
foreach(name libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll libssp-0.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name} OUTPUT_VARIABLE file
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  file(COPY_FILE ${file} ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name} ONLY_IF_DIFFERENT)
endforeach()
