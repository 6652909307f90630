// What the program takes from the colours of the desktop, once, when it starts.
#pragma once

class QAbstractItemView;
class QObject;
class QString;

// By the colours of a label that nobody has styled.
bool is_theme_dark();

// The grounds that the program chooses itself stay as they were at its start, so all other colours
// stay as well, as long as `context` lives: texts of another theme could not be read on them.
void keep_desktop_colours(QObject *context);

// What is selected in a list of the program: the desktop's own blue may leave its text unreadable.
QString selection_colour(bool is_dark);
void colour_selection(QAbstractItemView *view, bool is_dark);
