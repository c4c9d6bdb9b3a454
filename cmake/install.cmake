# `cmake --install`, component "library": what the main application needs to build with the library.
# On hosts other than a Mac that includes the simulator, since the library cannot be linked without
# a platform.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/TolvaranRestore)
set(header_directory ${CMAKE_INSTALL_INCLUDEDIR}/tolvaran)

target_include_directories(TolvaranRestore PUBLIC $<INSTALL_INTERFACE:${header_directory}>)
set(targets TolvaranRestore tolvaran_platform)
if(TARGET simulator)
    list(APPEND targets simulator)
    set_target_properties(simulator PROPERTIES OUTPUT_NAME TolvaranSimulator)
    target_include_directories(simulator PUBLIC
        $<INSTALL_INTERFACE:${header_directory}/simulator/include>
        $<INSTALL_INTERFACE:${header_directory}>)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/simulator/include
            DESTINATION ${header_directory}/simulator COMPONENT library)
    install(FILES ${PROJECT_SOURCE_DIR}/simulator/simulator.hpp
            DESTINATION ${header_directory}/simulator COMPONENT library)
endif()
install(TARGETS ${targets} EXPORT TolvaranRestoreTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library)
install(EXPORT TolvaranRestoreTargets NAMESPACE TolvaranRestore::
        DESTINATION ${package_directory} COMPONENT library)

install(FILES ${PROJECT_SOURCE_DIR}/cmake/module.modulemap
        DESTINATION ${header_directory} COMPONENT library)
install(CODE "set(source_directory \"${PROJECT_SOURCE_DIR}\")
set(header_directory \"${header_directory}\")" COMPONENT library)
install(SCRIPT ${PROJECT_SOURCE_DIR}/cmake/install_public_headers.cmake COMPONENT library)

set(needs_nlohmann_json FALSE)  # only the simulator's own header mentions it
if(TARGET simulator)
    set(needs_nlohmann_json TRUE)
endif()
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/TolvaranRestoreConfig.cmake.in
    ${PROJECT_BINARY_DIR}/TolvaranRestoreConfig.cmake INSTALL_DESTINATION ${package_directory})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TolvaranRestoreConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/TolvaranRestoreConfig.cmake
              ${PROJECT_BINARY_DIR}/TolvaranRestoreConfigVersion.cmake
        DESTINATION ${package_directory} COMPONENT library)

# pkg-config has no targets, so it gets the libraries behind them.
set(pc_directory ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH pc_prefix /${pc_directory} /)
set(pc_includes "-I\${includedir}/tolvaran")
if(TARGET simulator)
    string(APPEND pc_includes " -I\${includedir}/tolvaran/simulator/include")
    get_target_property(platform simulator INTERFACE_LINK_OPTIONS)
    list(APPEND platform -lTolvaranSimulator)
else()
    get_target_property(platform tolvaran_platform INTERFACE_LINK_LIBRARIES)
    list(PREPEND platform -lTolvaranPlatform)
endif()
list(JOIN platform " " pc_platform)
configure_file(${PROJECT_SOURCE_DIR}/cmake/TolvaranRestore.pc.in
               ${PROJECT_BINARY_DIR}/TolvaranRestore.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/TolvaranRestore.pc
        DESTINATION ${pc_directory} COMPONENT library)
