# What every target of this project is built with, in one interface target, and the one way to
# declare a library of a folder.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

find_package(Threads REQUIRED)
find_path(RAPIDJSON_INCLUDE_DIR rapidjson/document.h REQUIRED)

add_library(pni_build INTERFACE)
target_compile_options(pni_build INTERFACE
    -Wall -Wextra -Wconversion -Wshadow -Wnon-virtual-dtor -Wformat=2 -Werror
    -fstack-protector-strong
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
    # A unique symbol would pin the module in memory for good once it has been loaded.
    $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
target_compile_definitions(pni_build INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
target_link_libraries(pni_build INTERFACE Threads::Threads)

if(EM_PNI_SANITIZE)
    target_compile_options(pni_build INTERFACE
        -fsanitize=${EM_PNI_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g
        $<$<CXX_COMPILER_ID:Clang>:-fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/sanitizer_ignore.txt>)
    target_link_options(pni_build INTERFACE -fsanitize=${EM_PNI_SANITIZE})
endif()

# The fuzzer follows the branches of all code, not only those of its targets.
if(EM_PNI_FUZZ)
    target_compile_options(pni_build INTERFACE -fsanitize=fuzzer-no-link)
endif()

# RapidJSON as a system header: its own warnings are not ours.
add_library(pni_rapidjson INTERFACE)
target_include_directories(pni_rapidjson SYSTEM INTERFACE ${RAPIDJSON_INCLUDE_DIR})

# pni_library(<name> SOURCES <file>... [USES <target>...]): a static library whose headers are
# included with their folder's name ("platform/trace.h").
function(pni_library name)
    cmake_parse_arguments(arg "" "" "SOURCES;USES" ${ARGN})
    add_library(${name} STATIC ${arg_SOURCES})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC pni_build ${arg_USES})
endfunction()
