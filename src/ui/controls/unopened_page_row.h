// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

namespace velmora
{

class Pasteboard;
class TextLabel;
class URLOpener;

/// Shows that the browser could not be started and which page it was to open, with a button that copies the address.
/// Hidden without such a page. Tells assistive technology of each new one.
class UnopenedPageRow final : public QWidget
{
    Q_OBJECT

public:
    /// The pointers are not owned and outlive the row.
    UnopenedPageRow(URLOpener *urlOpener, Pasteboard *pasteboard, QWidget *parent = nullptr);

private:
    void showPage();

    URLOpener *m_urlOpener;
    TextLabel *m_text;
    TextLabel *m_address;
};

} // namespace velmora
