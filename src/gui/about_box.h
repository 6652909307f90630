// The box that tells which program this is.
#pragma once

class QWidget;

// Returns when it is closed.
void show_about_box(QWidget *parent);
