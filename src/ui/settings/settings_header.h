// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

namespace velmora
{

/// The top of a tab: a title above a help text, and perhaps a button at the end.
class SettingsHeader final : public QWidget
{
    Q_OBJECT

public:
    /// Takes ownership of the button, which may be null.
    SettingsHeader(const QString &title, const QString &help, QWidget *button, QWidget *parent = nullptr);
};

} // namespace velmora
