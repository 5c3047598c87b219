# SPDX-License-Identifier: MIT
# Run by CPack on the files of the package.

# Independent of the umask of the build.
file(CHMOD_RECURSE "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr"
  DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
# Debian has a folder of its own for completions of packages.
set(zsh "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/share/zsh")
file(RENAME "${zsh}/site-functions" "${zsh}/vendor-completions")
