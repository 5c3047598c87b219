// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessibleWidget>

namespace velmora
{

/// Makes assistive technology see each `Widget` as a `Part`, which is constructed from a pointer to it. Called by the
/// constructors of the widget; the first call registers the factory. Applies to the class itself, not to derived ones.
template <typename Widget, typename Part>
void installAccessible()
{
    constexpr auto describe = [](const QString &className, QObject *object) -> QAccessibleInterface * {
        const bool isNamed = className == QLatin1String(Widget::staticMetaObject.className());
        auto *widget = isNamed ? qobject_cast<Widget *>(object) : nullptr;
        return widget ? new Part(widget) : nullptr;
    };
    static const bool isDone = (QAccessible::installFactory(describe), true);
    Q_UNUSED(isDone)
}

/// Reports the role of a window. Qt's default for a plain widget is QAccessible::Client.
class AccessibleWindow final : public QAccessibleWidget
{
public:
    explicit AccessibleWindow(QWidget *window)
        : QAccessibleWidget(window, QAccessible::Window)
    {
    }
};

} // namespace velmora
