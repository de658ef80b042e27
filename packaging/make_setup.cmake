# Run by cpack after each package: turns the TGZ archive of the install tree into
# the self-extracting Kestrix_<version>_setup.run (the stub with the version
# filled in, then the archive) in the output folder. The archive itself stays a
# package of its own: the install tree to unpack anywhere.
foreach(archive IN LISTS CPACK_PACKAGE_FILES)
  if(NOT archive MATCHES "\\.tar\\.gz$")
    continue()
  endif()
  set(KESTRIX_VERSION "${CPACK_PACKAGE_VERSION}")
  set(stub "${CPACK_TOPLEVEL_DIRECTORY}/setup_stub.sh")
  configure_file("${CPACK_KESTRIX_SETUP_STUB}" "${stub}" @ONLY)
  set(setup "${CPACK_PACKAGE_DIRECTORY}/Kestrix_${CPACK_PACKAGE_VERSION}_setup.run")
  execute_process(COMMAND cat "${stub}" "${archive}" OUTPUT_FILE "${setup}" RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "Could not write ${setup}")
  endif()
  file(CHMOD "${setup}" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ
       GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  message(STATUS "Setup file: ${setup}")
endforeach()
