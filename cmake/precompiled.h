// SPDX-License-Identifier: MIT
// Force-included into every source file; contains only headers that almost all of them need.
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
