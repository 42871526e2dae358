# Every dependency is a Debian package (scripts/install-deps). Plain find_path
# and find_library work the same natively and in the armhf multiarch build.
find_package(Threads REQUIRED)

find_path(CJSON_INCLUDE_DIR cjson/cJSON.h REQUIRED)
find_library(CJSON_LIBRARY NAMES cjson REQUIRED)
add_library(doorlock::cjson UNKNOWN IMPORTED)
set_target_properties(doorlock::cjson PROPERTIES
    IMPORTED_LOCATION ${CJSON_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${CJSON_INCLUDE_DIR})

# Only the emulator and what drives it use pugixml; a board build against a
# real host SDK does not need it.
if(NOT DOORLOCK_HOST_SDK_DIR)
    find_path(PUGIXML_INCLUDE_DIR pugixml.hpp REQUIRED)
    find_library(PUGIXML_LIBRARY NAMES pugixml REQUIRED)
    add_library(doorlock::pugixml UNKNOWN IMPORTED)
    set_target_properties(doorlock::pugixml PROPERTIES
        IMPORTED_LOCATION ${PUGIXML_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${PUGIXML_INCLUDE_DIR})
endif()

if(DOORLOCK_BUILD_TESTS)
    find_package(GTest REQUIRED)
endif()
if(DOORLOCK_BUILD_BENCH)
    find_package(benchmark REQUIRED)
endif()
