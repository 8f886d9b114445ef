# Builds the page, unless it is in BUILT, and makes BUILD/PageFiles.cpp of it:
#
#     cmake -D NODE=... -D NPM=... -D BUILD=... -D BUILT=... -P build.cmake
get_filename_component(root ${CMAKE_CURRENT_LIST_DIR} DIRECTORY)

if(EXISTS ${BUILT})
    file(COPY ${BUILT}/dist ${BUILT}/parts.json DESTINATION ${BUILD})
else()
    # One at a time, whatever is built at once: all builds share clients/typescript/dist.
    file(LOCK ${root}/node_modules/.page.lock GUARD PROCESS)
    set(ENV{NODE_ENV} production) # or React would be the one for developers where the shell says so
    execute_process(
        COMMAND ${NPM} run build --silent -w @ostrel/page -- --outDir ${BUILD}/dist --emptyOutDir --logLevel warn
        WORKING_DIRECTORY ${root}
        COMMAND_ERROR_IS_FATAL ANY)
endif()
execute_process(COMMAND ${NODE} ${CMAKE_CURRENT_LIST_DIR}/embed.js ${BUILD}/dist ${BUILD} COMMAND_ERROR_IS_FATAL ANY)
