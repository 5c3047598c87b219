// SPDX-License-Identifier: MIT
#pragma once

namespace velmora
{

class AuthenticationStore;
class DeploymentMonitor;
class GeneralSettingsStore;
class InstallationPage;
class InstallationStore;
class Preferences;

/// The stores that windows show and commands control. Nothing is owned; all of it outlives its users.
struct Stores {
    AuthenticationStore *authentication = nullptr;
    InstallationStore *installations = nullptr;
    DeploymentMonitor *monitor = nullptr;
    GeneralSettingsStore *settings = nullptr;
    Preferences *preferences = nullptr; ///< where the stores save the user's choices
    InstallationPage *installationPage = nullptr;
};

} // namespace velmora
