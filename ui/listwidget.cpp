#include "listwidget.h"

#include "moc_listwidget.cpp"
