# What most sources include is read once, not once for each of them, which takes 40% off a clean build. A source includes
# what it needs all the same: no other preset does this, and none compiles what includes too little.
set(standard
    <algorithm> <array> <charconv> <chrono> <cstddef> <cstdint> <cstdio> <cstdlib> <cstring> <functional> <limits> <map>
    <memory> <optional> <set> <span> <stdexcept> <string> <string_view> <thread> <unordered_map> <utility> <vector>)

# What is precompiled belongs to a target, and a target has a source.
set(nothing ${CMAKE_CURRENT_BINARY_DIR}/precompiled.cpp)
file(CONFIGURE OUTPUT ${nothing} CONTENT "// Nothing of its own\n")

# Who shares one must be compiled with the same flags. GCC 12 finds bounds exceeded where strings are added up when it
# reads <string> like this, as with -Wrestrict; the other presets look.
function(ostrel_share_precompiled owner) # TARGET ...
    foreach(target IN LISTS ARGN)
        target_compile_options(${target} PRIVATE -Wno-array-bounds -Wno-stringop-overflow)
        target_precompile_headers(${target} REUSE_FROM ${owner})
    endforeach()
endfunction()

add_library(precompiled OBJECT ${nothing})
target_precompile_headers(precompiled PRIVATE ${standard})
ostrel_share_precompiled(precompiled
    ostrel-client-generator-objects ostrel-quoril ostrel-simulator ostrel-soak-objects ostrel-tvd-objects
    ostrel-world-files ostrel-world-objects ostreltv-objects)

add_library(network-precompiled OBJECT ${nothing})
target_precompile_headers(network-precompiled PRIVATE ${standard}
    <boost/asio/generic/stream_protocol.hpp> <boost/asio/io_context.hpp> <boost/asio/ip/tcp.hpp>
    <boost/asio/local/stream_protocol.hpp> <boost/asio/steady_timer.hpp> <boost/beast/http/parser.hpp>)
ostrel_share_precompiled(network-precompiled ostrel-client ostrel-objects)

if(BUILD_TESTING)
    add_library(tests-precompiled OBJECT ${nothing})
    target_link_libraries(tests-precompiled PRIVATE GTest::gmock)
    target_compile_options(tests-precompiled PRIVATE -O0 -fPIE)
    target_precompile_headers(tests-precompiled PRIVATE ${standard}
        <atomic> <filesystem> <fstream> <ostream> <sstream> <gmock/gmock.h> <gtest/gtest.h>)
    set_target_properties(tests-precompiled PROPERTIES POSITION_INDEPENDENT_CODE OFF)
    ostrel_share_precompiled(tests-precompiled
        client-tests commandline-tests host-tests limits-tests ostrel-tests simulator-tests simulator-wire-tests
        soak-tests tv-tests wire-tests world-files-tests world-tests)
endif()
