# SPDX-License-Identifier: MIT
# The Debian package: `cpack --config <build folder>/CPackConfig.cmake`.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME velmora)
set(CPACK_PACKAGE_VENDOR "The Velmora developers")
set(CPACK_PACKAGE_CONTACT "The Velmora developers <tarvik-velmora@users.noreply.github.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "tray utility that watches GitHub deployments")
set(CPACK_PACKAGE_DESCRIPTION "Velmora shows what is being deployed from your GitHub repositories and how
the last 24 hours went, and posts one notification when a deployment fails.
It lives in the tray and costs next to nothing while it waits.

Several GitHub identities are watched at once, connected without a password
through a GitHub App. Their tokens stay in the keyring of the desktop. The
same is there in the terminal: a live table for people, JSON for scripts.")

# The paths of an installed system, also inside of files.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/debian/arrange.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://github.com/apps/tarvik-velmora)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Linked libraries are found automatically; what is loaded, read or started at run time is listed here.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "ca-certificates, qt6-wayland, xdg-utils")
# A Secret Service, a notification daemon, and access to the proxy settings of the desktop; desktops provide them.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "gnome-keyring | libkf5wallet-bin | keepassxc | org.freedesktop.secrets, \
libproxy1-plugin-gsettings | libproxy1-plugin-kconfig, notification-daemon")

include(CPack)
