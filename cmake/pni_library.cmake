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

include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)  # programs are linked position-independent, too

find_package(Threads REQUIRED)
find_path(RAPIDJSON_INCLUDE_DIR rapidjson/document.h REQUIRED)

add_library(pni_build INTERFACE)
target_compile_options(pni_build INTERFACE
    -Wall -Wextra -Wconversion -Wnon-virtual-dtor -Wformat=2 -Werror
    # Files that are compiled as one have equal names of their own.
    $<$<NOT:$<BOOL:${CMAKE_UNITY_BUILD}>>:-Wshadow>
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
    # A unique symbol would pin the module in memory for good once it has been loaded.
    $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
target_link_libraries(pni_build INTERFACE Threads::Threads)

# Hardening, which scripts/check_hardening finds again in what has been built.
target_compile_options(pni_build INTERFACE
    -fstack-protector-strong
    # Fortified functions need an optimising compiler; a level that it brings along gives way.
    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>)
foreach(flag -fstack-clash-protection -fcf-protection)  # not known on every processor
    string(MAKE_C_IDENTIFIER "EM_PNI_HAS${flag}" has_flag)
    check_cxx_compiler_flag(${flag} ${has_flag})
    if(${has_flag})
        target_compile_options(pni_build INTERFACE ${flag})
    endif()
endforeach()
target_link_options(pni_build INTERFACE
    LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack LINKER:--as-needed)

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
