# What a front end is built with: the library, its header, and how CMake and pkg-config find them; and
# ssd-op. The stand-ins of the platform's libraries are not installed with it, an appliance has its own.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS ssd_op ssd_op_cli)
install(TARGETS ssd_op_commands DESTINATION lib/ssd-op) # where ssd-op looks, whatever the libraries' place
install(FILES ${PROJECT_SOURCE_DIR}/cli/completion.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ssd-op)
if(TARGET manual)
    install(FILES ${PROJECT_BINARY_DIR}/man/ssd-op.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()
install(FILES include/ssd_op.h TYPE INCLUDE)
# What a request is made of. The other headers of the platform are nothing to a caller.
install(FILES src/platform/storage.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ssd_op/platform)

# Not install(EXPORT): an exported target would name the stand-ins that the library is linked with.
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/ssd_op)
configure_package_config_file(cmake/ssd_op-config.cmake.in ssd_op-config.cmake
    INSTALL_DESTINATION ${package} PATH_VARS CMAKE_INSTALL_INCLUDEDIR CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(ssd_op-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ssd_op-config.cmake ${PROJECT_BINARY_DIR}/ssd_op-config-version.cmake
        DESTINATION ${package})

cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
           OUTPUT_VARIABLE prefix_from_pc)
configure_file(cmake/ssd_op.pc.in ssd_op.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ssd_op.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The simulated appliance, on request alone (cmake --install BUILD --component appliance): what
# appliance/enter takes for a build, and the tree that it lies in.
set(appliance ${CMAKE_INSTALL_LIBDIR}/ssd-op-appliance)
install(TARGETS Tavrel_hal Tavrel_naslog Tavrel_ini Tavrel_Storage appliance_core
                appliance_clock disk_opr_util program_appliance_setup program_appliance_ctl program_fio
                program_kblkdiscard program_kanalytic_tool program_services_sh program_rsyncd_sh
        COMPONENT appliance EXCLUDE_FROM_ALL
        LIBRARY DESTINATION ${appliance}/lib
        RUNTIME DESTINATION ${appliance}/bin)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/appliance/rootfs ${PROJECT_SOURCE_DIR}/appliance/lib
                  ${PROJECT_SOURCE_DIR}/appliance/addon
        DESTINATION ${CMAKE_INSTALL_DATADIR}/ssd-op-appliance/appliance USE_SOURCE_PERMISSIONS
        COMPONENT appliance EXCLUDE_FROM_ALL
        PATTERN *.cpp EXCLUDE PATTERN *.h EXCLUDE PATTERN CMakeLists.txt EXCLUDE PATTERN *.md EXCLUDE)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/provider/lib DESTINATION ${CMAKE_INSTALL_DATADIR}/ssd-op-appliance/provider
        COMPONENT appliance EXCLUDE_FROM_ALL)
install(PROGRAMS ${PROJECT_SOURCE_DIR}/appliance/enter
        DESTINATION ${CMAKE_INSTALL_DATADIR}/ssd-op-appliance/appliance
        COMPONENT appliance EXCLUDE_FROM_ALL)

# What ssd-op --host works with, on request alone (--component host). It lies where ssd-op looks, whatever
# the libraries' place, and is a build to host/enter, but for ssd-op itself and the library: what is below
# /usr is seen in the private root as it is.
set(host lib/ssd-op-host)
get_property(host_programs GLOBAL PROPERTY SSD_OP_HOST_PROGRAMS)
install(TARGETS ssd_op_host COMPONENT host EXCLUDE_FROM_ALL)
install(TARGETS host_hal host_naslog host_ini host_Storage
        COMPONENT host EXCLUDE_FROM_ALL LIBRARY DESTINATION ${host}/lib/host)
install(TARGETS ${host_programs} COMPONENT host EXCLUDE_FROM_ALL RUNTIME DESTINATION ${host}/bin/host)
install(TARGETS disk_opr_util COMPONENT host EXCLUDE_FROM_ALL RUNTIME DESTINATION ${host}/bin)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/host/lib ${PROJECT_SOURCE_DIR}/host/rootfs
        DESTINATION ${host}/host USE_SOURCE_PERMISSIONS COMPONENT host EXCLUDE_FROM_ALL)
install(PROGRAMS ${PROJECT_SOURCE_DIR}/host/enter DESTINATION ${host}/host COMPONENT host EXCLUDE_FROM_ALL)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/provider/lib DESTINATION ${host}/provider COMPONENT host EXCLUDE_FROM_ALL)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/appliance/addon DESTINATION ${host}
        USE_SOURCE_PERMISSIONS COMPONENT host EXCLUDE_FROM_ALL FILES_MATCHING PATTERN *.sh)
