# Makes the settings page anew and compares it with the one in the tree.
execute_process(COMMAND ${GENERATOR} ${FOLDER} ${MADE} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${MADE} ${PAGE} RESULT_VARIABLE differs)
if(differs)
    message(FATAL_ERROR "docs/settings.md is not what its sources give: build the target settings_page")
endif()
