// SPDX-License-Identifier: MIT
// Included by force into every file of the build; holds only headers that almost every file needs.
#pragma once

#include <QCoroTask>

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <utility>
#include <variant>
