// Sizes and places that the window starts with.
#include "gui/window_rules.h"

#include <algorithm>

QSize first_window_size(const QSize &screen)
{
    const int width = static_cast<int>(0.8 * screen.width());
    const int height = static_cast<int>(0.8 * screen.height());
    return {std::clamp(width, 600, 2000), height};
}

QList<int> first_splitter_sizes(int window_width)
{
    const int list_width = static_cast<int>(0.7 * window_width);
    return {list_width, window_width - list_width};
}

QString cache_path_beside(const QString &settings_file)
{
    const int slash = settings_file.lastIndexOf('/');
    return settings_file.left(slash) + "/devicecache.json";
}

QStringList committed_history(const QStringList &history, const QString &text)
{
    if (text.isEmpty())
        return history;
    QStringList committed = history;
    committed.removeAll(text);
    committed.prepend(text);
    while (committed.size() > MOST_SEARCHES)
        committed.removeLast();
    return committed;
}
