# Takes the scripts out of the package of the library, in which CPack calls ldconfig: its trigger does that already, once for all
# packages that are installed together, and a package without scripts has none that could fail while it is removed.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
    set(unpacked "${package}.unpacked")
    execute_process(COMMAND dpkg-deb --raw-extract "${package}" "${unpacked}" COMMAND_ERROR_IS_FATAL ANY)
    file(GLOB scripts "${unpacked}/DEBIAN/postinst" "${unpacked}/DEBIAN/postrm")
    if(scripts)
        file(REMOVE ${scripts})
        execute_process(COMMAND dpkg-deb --root-owner-group --build "${unpacked}" "${package}"
            OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
    endif()
    file(REMOVE_RECURSE "${unpacked}")
endforeach()
