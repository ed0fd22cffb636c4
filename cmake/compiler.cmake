# Warnings, sanitizers, coverage: what every target of this project is compiled with.

add_compile_options(-Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wno-sign-conversion
                    -Wformat=2 -fstack-protector-strong
                    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor> $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>)
# g++ 12 sees overlapping copies in "text" + std::string where there are none, when it optimises for
# speed. (clang-tidy, which reads the flags of everyday builds, does not know the option.)
add_compile_options($<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CONFIG:Release>>:-Wno-restrict>)
add_link_options(-Wl,-z,relro,-z,now)
if(NOT SSD_OP_FUZZ) # a fuzzer holds what its libraries want of the sanitizers
    add_link_options(-Wl,--no-undefined)
endif()

find_program(CCACHE ccache)
if(CCACHE)
    set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

if(SSD_OP_SANITIZE OR SSD_OP_FUZZ)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined
                        -fno-omit-frame-pointer -g1) # lines are what a report shows
    add_link_options(-fsanitize=address,undefined)
endif()

if(SSD_OP_COVERAGE)
    add_compile_options(--coverage -fprofile-update=atomic)
    add_link_options(--coverage)
endif()
