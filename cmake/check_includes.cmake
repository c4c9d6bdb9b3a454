# A folder that includes what lies above it fails the build (tools/check-includes has the rules).
file(GLOB_RECURSE checked_sources CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/platform/* ${PROJECT_SOURCE_DIR}/restore/* ${PROJECT_SOURCE_DIR}/helper/*
    ${PROJECT_SOURCE_DIR}/simulator/* ${PROJECT_SOURCE_DIR}/report/* ${PROJECT_SOURCE_DIR}/player/*
    ${PROJECT_SOURCE_DIR}/tools/describe/*)
set(includes_checked ${PROJECT_BINARY_DIR}/includes_checked)
add_custom_command(
    OUTPUT ${includes_checked}
    COMMAND ${PYTHON3} ${PROJECT_SOURCE_DIR}/tools/check-includes ${PROJECT_SOURCE_DIR}
    COMMAND ${CMAKE_COMMAND} -E touch ${includes_checked}
    DEPENDS ${PROJECT_SOURCE_DIR}/tools/check-includes ${checked_sources}
    COMMENT "Checking that each folder includes only what lies below it")
add_custom_target(check_includes ALL DEPENDS ${includes_checked})
