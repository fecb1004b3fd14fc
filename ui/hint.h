// Tooltips of controls that show a picture only.
#pragma once

#include <QWidget>

// Sets the tooltip, and the same text as the name that assistive technology reads.
inline void setHint(QWidget *control, const QString &text)
{
    control->setToolTip(text);
    control->setAccessibleName(text);
}
