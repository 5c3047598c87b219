// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/world.h"

#include <QJsonObject>
#include <QUrl>

namespace velmora::simulator
{

/// The supported versions of GitHub's REST API. Some fields exist in one of them only.
enum class APIVersion { V2022_11_28, V2026_03_10 };

/// A user or organisation as part of another answer.
[[nodiscard]] QJsonObject simpleUser(const Owner &owner, const QUrl &web);

/// The answer to GET /user.
[[nodiscard]] QJsonObject privateUser(const Owner &owner, const QUrl &web);

[[nodiscard]] QJsonObject installationJSON(const World &world, int installation, const QUrl &web);

[[nodiscard]] QJsonObject repositoryJSON(const World &world, int repository, const QUrl &web, APIVersion version);

} // namespace velmora::simulator
