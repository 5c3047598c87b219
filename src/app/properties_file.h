// SPDX-License-Identifier: MIT
#pragma once

#include "support/error.h"

#include <QByteArrayView>
#include <QMap>
#include <QString>

namespace velmora
{

/// Keys and values of a configuration.
using Properties = QMap<QString, QString>;

/// Something in the configuration cannot be used. The description names the key, or the file and the line.
class ConfigurationError final : public DescribedError
{
public:
    using DescribedError::DescribedError;
    [[nodiscard]] const char *what() const noexcept override { return "velmora::ConfigurationError"; }
};

/// Reads lines of the form KEY=VALUE in UTF-8. Blanks around key and value are dropped. Lines that are empty or begin
/// with "#" or "!" are comments. The last value of a repeated key counts. Throws ConfigurationError for any other
/// line; `name` is what the message calls the file.
[[nodiscard]] Properties parseProperties(QByteArrayView content, const QString &name);

} // namespace velmora
