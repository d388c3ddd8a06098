# The Debian packages that `cpack -G DEB` makes.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "Quorvane <support@quorvane.com>")
# The prefix is built into the programs and into the policy: packages are for the one configured.
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL copy kit rights tools)
if(QV_BUILD_APP)
  list(APPEND CPACK_COMPONENTS_ALL program)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME brightkeel-uninstaller)
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION "Quits the running Brightkeel tools and moves the whole suite to the Trash,
 from which every item can be put back.")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)
# killall, which quits the tools.
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "psmisc, quorvane-privileged-helper")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_RECOMMENDS qt6-wayland)

set(CPACK_DEBIAN_RIGHTS_PACKAGE_NAME quorvane-privileged-helper)
set(CPACK_COMPONENT_RIGHTS_DESCRIPTION "Moves items that belong to all users, once an administrator's password is given,
 for programs on the Quorvane kit.")
set(CPACK_DEBIAN_RIGHTS_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_RIGHTS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RIGHTS_PACKAGE_DEPENDS "pkexec, polkitd")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME quorvane-tools)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "Command-line tools that programs on the Quorvane kit run:
 zip archives, facts about volumes, open files, extended attributes.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS lsof)

set(CPACK_DEBIAN_COPY_PACKAGE_NAME quorvane-copy)
set(CPACK_COMPONENT_COPY_DESCRIPTION "Copies files to several places at once, verifies each copy, and hashes files,
 with progress on a terminal.")
set(CPACK_DEBIAN_COPY_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_COPY_PACKAGE_SHLIBDEPS ON)

set(CPACK_DEBIAN_KIT_PACKAGE_NAME quorvane-kit-dev)
set(CPACK_COMPONENT_KIT_DESCRIPTION "Headers and static libraries of the kit below the Brightkeel uninstaller.")
set(CPACK_DEBIAN_KIT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_KIT_PACKAGE_DEPENDS "libplist-dev, libssl-dev, libsystemd-dev, pkg-config")
set(CPACK_DEBIAN_KIT_PACKAGE_RECOMMENDS "quorvane-privileged-helper, quorvane-tools")
include(CPack)
