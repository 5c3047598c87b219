# SPDX-License-Identifier: MIT
# Run by CPack on what is about to be packed.

# Whatever the umask of who builds the package.
file(CHMOD_RECURSE "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr"
  DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
# Debian keeps the completions of packages apart from those of the machine.
set(zsh "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/share/zsh")
file(RENAME "${zsh}/site-functions" "${zsh}/vendor-completions")
