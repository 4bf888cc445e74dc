# lumokit_add_application(NAME
#     SOURCES file...
#     INFO Info.plist
#     [RESOURCES folder...]     what is in them goes into Contents/Resources
#     [HELPERS target...])      programs that stand beside the executable
#
# Builds the bundle NAME.app: Contents/{Info.plist,Linux/NAME,Resources/}. Resources are copied, at every build: a bundle is
# whole, and what lies outside of it is not served.
function(lumokit_add_application name)
    cmake_parse_arguments(PARSE_ARGV 1 app "" "INFO" "SOURCES;RESOURCES;HELPERS")
    set(contents "${CMAKE_CURRENT_BINARY_DIR}/${name}.app/Contents")
    add_executable(${name} ${app_SOURCES})
    target_link_libraries(${name} PRIVATE LumoKit::LumoKit)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${contents}/Linux")
    file(MAKE_DIRECTORY "${contents}/Linux" "${contents}/Resources")
    configure_file("${app_INFO}" "${contents}/Info.plist" COPYONLY)
    list(TRANSFORM app_RESOURCES PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/" OUTPUT_VARIABLE folders)
    if(folders)
        add_custom_target(${name}-resources
            COMMAND ${CMAKE_COMMAND} -E copy_directory ${folders} "${contents}/Resources" VERBATIM)
        add_dependencies(${name} ${name}-resources)
    endif()
    set_target_properties(${name} PROPERTIES LUMOKIT_HELPERS "${app_HELPERS}")
    foreach(helper IN LISTS app_HELPERS)
        add_dependencies(${name} ${helper})
        add_custom_command(TARGET ${name} POST_BUILD
            COMMAND ${CMAKE_COMMAND} -E create_symlink $<TARGET_FILE:${helper}> "${contents}/Linux/$<TARGET_FILE_NAME:${helper}>"
            VERBATIM)
    endforeach()
endfunction()

# lumokit_install_application(NAME
#     COMMAND command           what it is started with
#     DESKTOP file...           its entries in the menus of desktops, which start that command
#     [ICON file...]            named after the identifier
#     [METAINFO file...]        what software centres say of it
#     [MANUAL file...]          pages of section 1 of the manual
#     [COMPONENT component])    of the installation; NAME, unless it is given
#
# Installs the bundle NAME.app, a command that leads to it, and what a desktop knows it by.
function(lumokit_install_application name)
    cmake_parse_arguments(PARSE_ARGV 1 app "" "COMMAND;COMPONENT" "DESKTOP;ICON;METAINFO;MANUAL")
    set(component ${name})
    if(app_COMPONENT)
        set(component ${app_COMPONENT})
    endif()
    include(GNUInstallDirs)
    set(bundle "${CMAKE_INSTALL_LIBDIR}/lumokit/${name}.app")
    get_target_property(linux ${name} RUNTIME_OUTPUT_DIRECTORY)
    get_target_property(helpers ${name} LUMOKIT_HELPERS)
    set(programs ${name})
    if(helpers)
        list(APPEND programs ${helpers})
    endif()
    if(TARGET LumoKit) # beside it, wherever the prefix is moved to
        file(RELATIVE_PATH library "/prefix/${bundle}/Contents/Linux" "/prefix/${CMAKE_INSTALL_LIBDIR}")
        set_target_properties(${programs} PROPERTIES INSTALL_RPATH "$ORIGIN/${library}")
    else()
        set_target_properties(${programs} PROPERTIES INSTALL_RPATH_USE_LINK_PATH ON)
    endif()
    install(TARGETS ${programs} RUNTIME DESTINATION "${bundle}/Contents/Linux" COMPONENT ${component})
    install(FILES "${linux}/../Info.plist" DESTINATION "${bundle}/Contents" COMPONENT ${component})
    install(DIRECTORY "${linux}/../Resources" DESTINATION "${bundle}/Contents" COMPONENT ${component})

    file(RELATIVE_PATH program "/prefix/${CMAKE_INSTALL_BINDIR}" "/prefix/${bundle}/Contents/Linux/${name}")
    set(link "${CMAKE_CURRENT_BINARY_DIR}/${name}-command/${app_COMMAND}")
    file(MAKE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/${name}-command")
    file(CREATE_LINK "${program}" "${link}" SYMBOLIC)
    install(FILES "${link}" DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${component})

    install(FILES ${app_DESKTOP} DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT ${component})
    if(app_ICON)
        install(FILES ${app_ICON} DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps COMPONENT ${component})
    endif()
    if(app_METAINFO)
        install(FILES ${app_METAINFO} DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT ${component})
    endif()
    if(app_MANUAL)
        install(FILES ${app_MANUAL} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT ${component})
    endif()
endfunction()
