# Compiler and linker flags, carried by one INTERFACE target that everything of ours links.

add_library(vk_flags INTERFACE)
target_include_directories(vk_flags INTERFACE ${PROJECT_SOURCE_DIR})

# __FILE__ is printed by the main cycle: no build path may show in a log.
target_compile_options(vk_flags INTERFACE
    "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/="
    "-ffile-prefix-map=${PROJECT_BINARY_DIR}/=build/")

target_compile_options(vk_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast
    -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Wnull-dereference)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    target_compile_options(vk_flags INTERFACE -Wthread-safety)
endif()
if(VK_WERROR)
    target_compile_options(vk_flags INTERFACE -Werror)
endif()

# Hardening is not left to the build type: every optimised build has it, and a test reads the
# binary to see that it is there. _FORTIFY_SOURCE needs an optimising compile and is of no use
# under a sanitizer, which checks more.
target_compile_options(vk_flags INTERFACE -fstack-protector-strong)
target_link_options(vk_flags INTERFACE -Wl,-z,relro -Wl,-z,now)
define_property(TARGET PROPERTY VK_UNOPTIMISED INITIALIZE_FROM_VARIABLE VK_UNOPTIMISED
    BRIEF_DOCS "Whether a target is compiled without optimisation, in every build type")
set(VK_IS_UNOPTIMISED "$<BOOL:$<TARGET_PROPERTY:VK_UNOPTIMISED>>")
target_compile_options(vk_flags INTERFACE "$<${VK_IS_UNOPTIMISED}:-O0>")
if(NOT VK_SANITIZE)
    target_compile_options(vk_flags INTERFACE
        "$<$<NOT:$<OR:$<CONFIG:Debug>,${VK_IS_UNOPTIMISED}>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
endif()
include(CheckPIESupported)
check_pie_supported()

if(VK_SANITIZE)
    target_compile_options(vk_flags INTERFACE
        -fsanitize=${VK_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(vk_flags INTERFACE -fsanitize=${VK_SANITIZE})
    # GCC's instrumented code confuses its own analysis: it takes the insides of std::regex for
    # uninitialised. The sanitizers look at what really happens.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(vk_flags INTERFACE -Wno-maybe-uninitialized)
    endif()
endif()
if(VK_COVERAGE)
    target_compile_options(vk_flags INTERFACE --coverage)
    target_link_options(vk_flags INTERFACE --coverage)
endif()

find_program(VK_CCACHE ccache)
if(VK_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${VK_CCACHE})
endif()
