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
    foreach(helper IN LISTS app_HELPERS)
        add_dependencies(${name} ${helper})
        add_custom_command(TARGET ${name} POST_BUILD
            COMMAND ${CMAKE_COMMAND} -E create_symlink $<TARGET_FILE:${helper}> "${contents}/Linux/$<TARGET_FILE_NAME:${helper}>"
            VERBATIM)
    endforeach()
endfunction()
