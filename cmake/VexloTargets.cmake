# The two functions that every folder's CMakeLists.txt is made of.

# What all of our code is compiled with.
add_library(vexlo_options INTERFACE)
target_include_directories(vexlo_options INTERFACE "${PROJECT_SOURCE_DIR}")
target_compile_options(vexlo_options INTERFACE
    -Wall -Wextra -Wshadow -Wno-missing-field-initializers
    # A compiler of tomorrow warns of more, which must not keep a user from building.
    $<$<BOOL:${VEXLO_STRICT}>:-Werror>)
target_compile_definitions(vexlo_options INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_FOREACH)
if(VEXLO_SANITIZE)
    target_compile_definitions(vexlo_options INTERFACE _GLIBCXX_ASSERTIONS)
    target_compile_options(vexlo_options INTERFACE
        -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    target_link_options(vexlo_options INTERFACE -fsanitize=address,undefined)
endif()

# vexlo_library(usage SOURCES A.cpp B.cpp LINKS platform [PACKAGES Qt6::DBus])
#
# Makes vexlo_usage from the files in usage/ ("platform_linux" stands for platform/linux/), linked to
# the floors in LINKS and to the outside libraries in PACKAGES, and a test that fails when a file of
# the folder includes from a folder that is not below it.
function(vexlo_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS;PACKAGES")
    string(REPLACE "_" "/" folder "${name}")
    list(TRANSFORM arg_SOURCES PREPEND "${PROJECT_SOURCE_DIR}/${folder}/")
    add_library(vexlo_${name} STATIC ${arg_SOURCES})
    target_link_libraries(vexlo_${name} PUBLIC vexlo_options Qt6::Core ${arg_PACKAGES})

    set(floors "${folder}")
    foreach(link IN LISTS arg_LINKS)
        target_link_libraries(vexlo_${name} PUBLIC vexlo_${link})
        get_target_property(below vexlo_${link} VEXLO_FLOORS)
        list(APPEND floors ${below})
    endforeach()
    list(REMOVE_DUPLICATES floors)
    set_target_properties(vexlo_${name} PROPERTIES VEXLO_FLOORS "${floors}")
    if(BUILD_TESTING)
        add_test(NAME includes/${folder}
            COMMAND "${CMAKE_COMMAND}" "-DSOURCE=${PROJECT_SOURCE_DIR}" "-DFOLDER=${folder}"
                    "-DFLOORS=${floors}" -P "${PROJECT_SOURCE_DIR}/cmake/CheckIncludes.cmake")
    endif()
endfunction()

# vexlo_test(usage/SnapshotFilesTest LINKS usage [PACKAGES Qt6::DBus] [WRAPPER command...]
#            [LABELS real] [SOURCES More.cpp])
#
# Builds tests/usage/SnapshotFilesTest.cpp and runs it in a home folder of its own, in UTC and the C
# locale, without a display. WRAPPER is put before the program: a private session, another user.
function(vexlo_test path)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LINKS;PACKAGES;WRAPPER;LABELS;SOURCES")
    string(REPLACE "/" "_" target "${path}")
    list(TRANSFORM arg_LINKS PREPEND vexlo_)
    add_executable(${target} "${PROJECT_SOURCE_DIR}/tests/${path}.cpp" ${arg_SOURCES})
    target_link_libraries(${target} PRIVATE vexlo_options Qt6::Test ${arg_LINKS} ${arg_PACKAGES})
    target_include_directories(${target} PRIVATE "${PROJECT_BINARY_DIR}/test-paths")
    set_target_properties(${target} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/tests")
    add_test(NAME ${path} COMMAND ${arg_WRAPPER} $<TARGET_FILE:${target}>)
    set(home "${PROJECT_BINARY_DIR}/test-homes/${target}")
    file(MAKE_DIRECTORY "${home}")
    set_tests_properties(${path} PROPERTIES
        ENVIRONMENT "HOME=${home};XDG_CONFIG_HOME=${home}/.config;XDG_DATA_HOME=${home}/.local/share;XDG_STATE_HOME=${home}/.local/state;XDG_CACHE_HOME=${home}/.cache;TZ=UTC;LC_ALL=C.UTF-8;QT_QPA_PLATFORM=offscreen;LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/support/leaks.supp:print_suppressions=0"
        ENVIRONMENT_MODIFICATION "DBUS_SESSION_BUS_ADDRESS=set:disabled:;DISPLAY=unset:;WAYLAND_DISPLAY=unset:"
        SKIP_RETURN_CODE 77
        TIMEOUT 300
        LABELS "${arg_LABELS}")
endfunction()
