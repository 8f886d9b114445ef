# Makes a source of the description of a server, whose bytes description() of that namespace returns:
# ostrel_embed_description(SOURCE FILE HEADER NAMESPACE)
function(ostrel_embed_description source file header namespace)
    set(template ${PROJECT_SOURCE_DIR}/cmake/Description.cpp.in)
    set(script ${PROJECT_SOURCE_DIR}/cmake/Embed.cmake)
    add_custom_command(
        OUTPUT ${source}
        COMMAND ${CMAKE_COMMAND} -D FILE=${file} -D TEMPLATE=${template} -D SOURCE=${source}
                -D header=${header} -D namespace=${namespace} -P ${script}
        DEPENDS ${file} ${template} ${script}
        COMMENT "Embedding ${header}"
        VERBATIM)
endfunction()
