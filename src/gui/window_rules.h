// Sizes and places that the window starts with.
#pragma once

#include <QList>
#include <QSize>
#include <QString>
#include <QStringList>

// 0.8 of the screen both ways, truncated. KEPT: the width at least 600 and at most 2000, the height
// without limits.
QSize first_window_size(const QSize &screen);

// 0.7 of the width for the list, truncated, the rest for the properties.
QList<int> first_splitter_sizes(int window_width);

// The device cache stands beside the settings file.
QString cache_path_beside(const QString &settings_file);

// As many searches are kept.
inline constexpr int MOST_SEARCHES = 10;

// The search history after `text` was committed: at its front, once, ten entries at most. An empty
// text changes nothing.
QStringList committed_history(const QStringList &history, const QString &text);
