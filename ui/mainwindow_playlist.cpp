#include "mainwindow.h"
