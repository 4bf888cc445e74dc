# What `cmake --install` puts into a prefix: the library, its headers, a CMake package and a pkg-config file, both of which
# work wherever the prefix is moved to.
include(CMakePackageConfigHelpers)

# lumokit_compressed(FILE SOURCE): compresses a page of the manual or a change log, the same at every time.
find_program(GZIP gzip REQUIRED)
function(lumokit_compressed file source)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${source}")
    get_filename_component(folder "${file}" DIRECTORY)
    file(MAKE_DIRECTORY "${folder}")
    execute_process(COMMAND "${GZIP}" -9nc "${source}" OUTPUT_FILE "${file}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# What is not said to be of another component is what hosts are developed with.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)
install(TARGETS LumoKit EXPORT LumoKit
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    FILE_SET native DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS lumokit-open DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/lumokit COMPONENT runtime)
set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/LumoKit)
install(EXPORT LumoKit NAMESPACE LumoKit:: DESTINATION ${packageDir} FILE LumoKitTargets.cmake)
configure_package_config_file(cmake/LumoKitConfig.cmake.in "${CMAKE_BINARY_DIR}/LumoKitConfig.cmake"
    INSTALL_DESTINATION ${packageDir})
write_basic_package_version_file("${CMAKE_BINARY_DIR}/LumoKitConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_BINARY_DIR}/LumoKitConfig.cmake" "${CMAKE_BINARY_DIR}/LumoKitConfigVersion.cmake"
    cmake/LumoKitApplication.cmake DESTINATION ${packageDir})

# The prefix as seen from the .pc file's own folder.
file(RELATIVE_PATH LUMOKIT_PC_PREFIX "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
configure_file(cmake/LumoKit.pc.in "${CMAKE_BINARY_DIR}/LumoKit.pc" @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/LumoKit.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
