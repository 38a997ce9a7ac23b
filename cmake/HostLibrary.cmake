# A cross-build's tests run the build machine's own programs (amixer, the emulator), and what those
# load must be built for the build machine too: a shared library from one C file, with the host's
# compiler and the project's warnings, built together with TARGET.
#   eq_add_host_library(TARGET OUTPUT file SOURCE file [DEFINES -D...] [LIBS -l...] COMMENT text)
set(EQ_HOST_CC cc CACHE STRING "The build machine's C compiler, for what its own programs load in a cross-build")

function(eq_add_host_library target)
    cmake_parse_arguments(H "" "OUTPUT;SOURCE;COMMENT" "DEFINES;LIBS" ${ARGN})
    set(warnings -Wall -Wextra)
    if(DEFINED ENV{CI})
        list(APPEND warnings -Werror)
    endif()
    get_filename_component(dir ${H_OUTPUT} DIRECTORY)
    add_custom_command(OUTPUT ${H_OUTPUT}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${dir}
        COMMAND ${EQ_HOST_CC} -std=gnu99 -O2 ${warnings} -fPIC -shared ${H_DEFINES} -o ${H_OUTPUT} ${H_SOURCE} ${H_LIBS}
        DEPENDS ${H_SOURCE}
        COMMENT ${H_COMMENT}
        VERBATIM)
    add_custom_target(${target}_host DEPENDS ${H_OUTPUT})
    add_dependencies(${target} ${target}_host)
endfunction()
