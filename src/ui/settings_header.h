// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

namespace velmora
{

/// The top of a tab: a title above its explanation, and a button at the end.
class SettingsHeader final : public QWidget
{
    Q_OBJECT

public:
    /// The button then belongs to the header.
    SettingsHeader(const QString &title, const QString &help, QWidget *button, QWidget *parent = nullptr);
};

} // namespace velmora
