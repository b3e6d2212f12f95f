# Build helpers shared by every subsystem folder.

# tarvex_add_library(<name> [SOURCES ...] [DEPS ...])
# Creates the library tarvex_<name> for one subsystem folder. A folder whose code has not been
# written yet still gets its target (an interface library), so dependants can name it today.
function(tarvex_add_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
    set(target tarvex_${name})
    if(ARG_SOURCES)
        add_library(${target} STATIC ${ARG_SOURCES})
        target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/src)
        target_link_libraries(${target} PUBLIC ${ARG_DEPS})
    else()
        add_library(${target} INTERFACE)
        target_include_directories(${target} INTERFACE ${PROJECT_SOURCE_DIR}/src)
        target_link_libraries(${target} INTERFACE ${ARG_DEPS})
    endif()
    add_library(tarvex::${name} ALIAS ${target})
endfunction()

# tarvex_add_test(<subsystem> SOURCES ... [LIBS ...] [NEEDS_X] [REAL_GAMES] [TIMEOUT seconds])
# One Qt Test executable per subsystem (tests/<subsystem>), holding any number of test classes
# registered with TARVEX_TEST. Widget tests run on the offscreen platform; NEEDS_X runs the
# executable under its own Xvfb server through xvfb-run instead.
#
# Most suites wait on real time far more than they compute, so ctest runs them side by side.
# Two kinds must not overlap: xvfb-run picks its display by looking for a free lock file, which
# two starting at once can both find; and suites that start real stand-in games (REAL_GAMES),
# which draw in software and wait for one another's frames on a small machine.
function(tarvex_add_test subsystem)
    cmake_parse_arguments(ARG "NEEDS_X;REAL_GAMES" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
    set(target test_${subsystem})
    add_executable(${target} ${ARG_SOURCES})
    target_link_libraries(${target} PRIVATE tarvex_testsupport ${ARG_LIBS})
    if(ARG_NEEDS_X)
        add_test(NAME ${subsystem}
                 COMMAND xvfb-run -a -s "-screen 0 1280x1024x24 -nolisten tcp"
                         $<TARGET_FILE:${target}>)
        set(platform xcb)
    else()
        add_test(NAME ${subsystem} COMMAND ${target})
        set(platform offscreen)
    endif()
    set(locks "")
    if(ARG_NEEDS_X)
        list(APPEND locks xvfb-run)
    endif()
    if(ARG_REAL_GAMES)
        list(APPEND locks real-games)
    endif()
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 300)
    endif()
    set_tests_properties(${subsystem} PROPERTIES
        TIMEOUT ${ARG_TIMEOUT}
        RESOURCE_LOCK "${locks}"
        ENVIRONMENT "QT_QPA_PLATFORM=${platform};TARVEX_SOURCE_DIR=${PROJECT_SOURCE_DIR};TARVEX_BINARY_DIR=${PROJECT_BINARY_DIR}")
endfunction()
