// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessibleWidget>

namespace velmora
{

/// From the first call on, assistive technology sees each `Widget` as the `Part` that is made from a pointer to it.
/// Called by the widget's constructors. The class itself counts, not what derives from it.
template <typename Widget, typename Part>
void describeBy()
{
    constexpr auto describe = [](const QString &className, QObject *object) -> QAccessibleInterface * {
        const bool isNamed = className == QLatin1String(Widget::staticMetaObject.className());
        auto *widget = isNamed ? qobject_cast<Widget *>(object) : nullptr;
        return widget ? new Part(widget) : nullptr;
    };
    static const bool isDone = (QAccessible::installFactory(describe), true);
    Q_UNUSED(isDone)
}

/// A window. Qt tells of a plain widget only that it fills some room.
class AccessibleWindow final : public QAccessibleWidget
{
public:
    explicit AccessibleWindow(QWidget *window)
        : QAccessibleWidget(window, QAccessible::Window)
    {
    }
};

} // namespace velmora
