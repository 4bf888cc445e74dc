# The Debian packages that `dev deb` makes of the components of an installation: the library, what hosts are developed with, and
# the suite.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lumokit)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The LumoKit developers <developers@lumosuite.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DIRECTORY "${CMAKE_BINARY_DIR}/packages")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE lumokit)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_BINARY_DIR}")

string(TOLOWER "lib${PROJECT_NAME}${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}" libraryPackage)
set(CPACK_COMPONENTS_ALL runtime development)
if(LUMOKIT_EXAMPLES)
    list(APPEND CPACK_COMPONENTS_ALL suite)
endif()

# lumokit_package(COMPONENT PACKAGE SECTION SUMMARY DESCRIPTION DEPENDS): a component, as a package with the papers that it must have.
function(lumokit_package component package section summary description depends)
    string(TOUPPER ${component} upper)
    foreach(pair "PACKAGE_NAME;${package}" "PACKAGE_SECTION;${section}" "PACKAGE_DEPENDS;${depends}")
        list(POP_FRONT pair key)
        set(CPACK_DEBIAN_${upper}_${key} "${pair}" PARENT_SCOPE)
    endforeach()
    set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}\n${description}" PARENT_SCOPE)
    set(changelog "${CMAKE_BINARY_DIR}/packaging/${package}/changelog.gz")
    lumokit_compressed("${changelog}" "${CMAKE_SOURCE_DIR}/packaging/debian/changelog")
    install(FILES packaging/debian/copyright "${changelog}" DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
        COMPONENT ${component})
endfunction()

lumokit_package(runtime ${libraryPackage} libs "framework for desktop applications around one web application"
    "LumoKit hosts a web application in a window and adds native behaviour\naround it: settings, accounts with cookies of their own, links between\napplications, keys, alerts, printing." "")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${CMAKE_SOURCE_DIR}/packaging/debian/triggers")
set(CPACK_POST_BUILD_SCRIPTS "${CMAKE_SOURCE_DIR}/packaging/debian/without-scripts.cmake")
lumokit_package(development liblumokit-dev libdevel "headers, CMake package and generator of LumoKit"
    "What is needed to write a host with LumoKit, and the command lumokit,\nwhich makes a new one." "${libraryPackage} (= ${PROJECT_VERSION}), cmake (>= 3.25), g++, make | ninja-build")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "xvfb, dbus, desktop-file-utils")
lumokit_package(suite lumo-suite web "mail, calendar, inbox and dashboard on LumoKit"
    "Four applications that each host a web application, with accounts that\nstay signed in, commands between them, and a service to try them with."
    "${libraryPackage} (= ${PROJECT_VERSION}), desktop-file-utils, adwaita-icon-theme, librsvg2-common, fonts-dejavu-core | fonts-cantarell")

include(CPack)
