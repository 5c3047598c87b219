# SPDX-License-Identifier: MIT
# Moves what Debian keeps elsewhere than the installation of a build does.
set(zsh "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/share/zsh")
file(RENAME "${zsh}/site-functions" "${zsh}/vendor-completions")
