# Has a shared library show what it promises and nothing else: ostrel_limit_exports(LIBRARY OBJECTS)
function(ostrel_limit_exports library objects)
    set(map ${PROJECT_SOURCE_DIR}/cmake/Exports.map)
    target_link_options(${library} PRIVATE LINKER:--version-script=${map})
    set_property(TARGET ${library} APPEND PROPERTY LINK_DEPENDS ${map})
    # Nobody puts a function in the place of one of ours: what the library calls of its own is bound when it is
    # linked, not looked up by its name at every start.
    target_compile_options(${objects} PRIVATE -fno-semantic-interposition)
    target_link_options(${library} PRIVATE LINKER:-Bsymbolic-functions)
    # A unique symbol is one for the whole process, whoever loads the library and however.
    target_compile_options(${objects} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
endfunction()
