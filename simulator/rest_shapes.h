// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/world.h"

#include <QJsonObject>
#include <QUrl>

namespace velmora::simulator
{

/// The versions of GitHub's REST API that are answered; some fields exist in only one of them.
enum class APIVersion { V2022_11_28, V2026_03_10 };

/// A user or an organisation as it stands within other answers.
[[nodiscard]] QJsonObject simpleUser(const Owner &owner, const QUrl &web);

/// The answer to a person who asks about themselves.
[[nodiscard]] QJsonObject privateUser(const Owner &owner, const QUrl &web);

[[nodiscard]] QJsonObject installationJSON(const World &world, int installation, const QUrl &web);

[[nodiscard]] QJsonObject repositoryJSON(const World &world, int repository, const QUrl &web, APIVersion version);

} // namespace velmora::simulator
