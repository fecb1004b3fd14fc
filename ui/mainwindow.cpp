#include "mainwindow.h"

#include "moc_mainwindow.cpp"
