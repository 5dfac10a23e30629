# Defines pni_build, the interface target with the flags of all targets, and pni_library(), which
# declares the library of a folder.

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
check_pie_supported(LANGUAGES CXX)  # without it CMake does not link programs with -pie

find_package(Threads REQUIRED)
find_path(RAPIDJSON_INCLUDE_DIR rapidjson/document.h REQUIRED)

add_library(pni_build INTERFACE)
target_compile_options(pni_build INTERFACE
    -Wall -Wextra -Wconversion -Wnon-virtual-dtor -Wformat=2
    $<$<BOOL:${EM_PNI_WERROR}>:-Werror>
    # A unity build compiles several files as one. A local name may then hide a name that another of
    # these files declares for itself, which is no mistake.
    $<$<NOT:$<BOOL:${CMAKE_UNITY_BUILD}>>:-Wshadow>
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
    # dlclose cannot unload a library that defines unique symbols.
    $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
target_link_libraries(pni_build INTERFACE Threads::Threads)

# The linker drops functions and data that nothing refers to.
if(NOT EM_PNI_SANITIZE)
    target_compile_options(pni_build INTERFACE -ffunction-sections -fdata-sections)
    target_link_options(pni_build INTERFACE LINKER:--gc-sections)
endif()

# Hardening. scripts/check_hardening looks for it in the built files.
target_compile_options(pni_build INTERFACE
    -fstack-protector-strong
    # Fortified functions need optimisation. The compiler may define a level of its own: undefine it
    # first.
    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>)
# clang accepts the flags of other processors with a warning.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
    set(control_flow_protection -mbranch-protection=standard)
else()
    set(control_flow_protection -fcf-protection)
endif()
foreach(flag -fstack-clash-protection ${control_flow_protection})
    # Only some processors have these.
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

# libFuzzer must see the branches of all code, not only of the fuzz targets.
if(EM_PNI_FUZZ)
    target_compile_options(pni_build INTERFACE -fsanitize=fuzzer-no-link)
endif()

# RapidJSON's headers are system headers, so that the compiler does not warn about them.
add_library(pni_rapidjson INTERFACE)
target_include_directories(pni_rapidjson SYSTEM INTERFACE ${RAPIDJSON_INCLUDE_DIR})

# pni_library(<name> SOURCES <file>... [USES <target>...]) declares a static library. Include its
# headers with the name of their folder, for example "platform/trace.h".
function(pni_library name)
    cmake_parse_arguments(arg "" "" "SOURCES;USES" ${ARGN})
    add_library(${name} STATIC ${arg_SOURCES})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC pni_build ${arg_USES})
endfunction()

# pni_hot(<target>...): the targets contain loops over whole records. With -O2 alone, g++ does not
# unroll the loop of the checksum.
function(pni_hot)
    foreach(target IN LISTS ARGN)
        target_compile_options(${target} PRIVATE
            $<$<AND:$<CONFIG:Release>,$<CXX_COMPILER_ID:GNU>>:-fpeel-loops>)
    endforeach()
endfunction()
