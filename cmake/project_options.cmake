# The one set of compiler options for all our targets: link it PRIVATE, never install it.
add_library(project_options INTERFACE)
target_compile_features(project_options INTERFACE cxx_std_20)
target_include_directories(project_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(
    project_options
    INTERFACE -Wall
              -Wextra
              -Wpedantic
              -Wshadow
              -Wconversion
              $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
              $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
              # Unique symbols would keep a library in the process after dlclose.
              $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-gnu-unique>
              # GCC 12 takes the assignment of a literal to a std::string for overlapping memory.
              $<$<AND:$<COMPILE_LANG_AND_ID:CXX,GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>
)

# What limits the damage of a fault in code that talks with strangers: checked stacks and buffers, checked targets of
# jumps where the processor has them, and no writable function table in what is linked.
include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported()
check_cxx_compiler_flag(-fcf-protection=full OPCUA_HAS_CF_PROTECTION)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
    check_cxx_compiler_flag(-mbranch-protection=standard OPCUA_HAS_BRANCH_PROTECTION) # the same
endif()
check_cxx_compiler_flag(-fstack-clash-protection OPCUA_HAS_STACK_CLASH_PROTECTION)
target_compile_options(
    project_options
    INTERFACE -fstack-protector-strong
              $<$<BOOL:${OPCUA_HAS_CF_PROTECTION}>:-fcf-protection=full>
              $<$<BOOL:${OPCUA_HAS_BRANCH_PROTECTION}>:-mbranch-protection=standard>
              $<$<BOOL:${OPCUA_HAS_STACK_CLASH_PROTECTION}>:-fstack-clash-protection>
)
target_link_options(project_options INTERFACE -Wl,-z,relro -Wl,-z,now)
# Needs optimisation, which targets with OPCUA_UNOPTIMISED, such as tests, do without, as do builds for the sanitizers.
set(optimised $<AND:$<CONFIG:Release,RelWithDebInfo,MinSizeRel>,$<NOT:$<BOOL:$<TARGET_PROPERTY:OPCUA_UNOPTIMISED>>>>)
if(NOT OPCUA_SANITIZERS)
    target_compile_options(
        project_options INTERFACE $<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=2>
    )
endif()

if(OPCUA_WARNINGS_AS_ERRORS)
    target_compile_options(project_options INTERFACE -Werror)
endif()
if(OPCUA_SANITIZERS)
    target_compile_options(
        project_options INTERFACE -fsanitize=${OPCUA_SANITIZERS} -fno-omit-frame-pointer
                                  -fno-sanitize-recover=all
                                  # A third of the compile time of the build type's -O2 -g; traces still name lines.
                                  -O$<IF:$<BOOL:${OPCUA_FUZZ}>,1,0> -g1
    )
    target_link_options(project_options INTERFACE -fsanitize=${OPCUA_SANITIZERS})
endif()
if(OPCUA_FUZZ)
    # The module's document is measured at compile time, text by text, which clang takes for an endless loop.
    target_compile_options(
        project_options INTERFACE -fsanitize=fuzzer-no-link
                                  $<$<COMPILE_LANGUAGE:CXX>:-fconstexpr-steps=100000000>
                                  -fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/clang_ignore.txt
    )
endif()
if(CMAKE_UNITY_BUILD)
    # Sources that are compiled as one see each other's names; the other builds tell of what a source itself shadows.
    target_compile_options(project_options INTERFACE -Wno-shadow)
endif()

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_VERIFY_INTERFACE_HEADER_SETS ON)

# Programs and libraries lie side by side in the build tree, as they do once installed, so that both find each other.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
