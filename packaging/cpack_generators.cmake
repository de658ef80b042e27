# Read by cpack once per generator: the .deb installs below /usr, the setup's
# payload holds the install tree from its top (bin/, share/).
if(CPACK_GENERATOR STREQUAL "DEB")
  set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
elseif(CPACK_GENERATOR STREQUAL "TGZ")
  set(CPACK_PACKAGING_INSTALL_PREFIX "")
  set(CPACK_PACKAGE_FILE_NAME "kestrix-${CPACK_PACKAGE_VERSION}-linux-x86_64")
endif()
