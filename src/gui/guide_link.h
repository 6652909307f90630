// Where the guide lies on this computer, and the About box's words with the link to it.
#pragma once

#include <QString>

// The guide's first page, in share/ beside the folder that the program lies in, as packages and our
// own build have it; empty where there is none.
QString find_guide(const QString &program_folder);

// Rich text of four lines. Without a page there is no link; with one it has the given colour, as
// the toolkit's own for links can't be read on a dark ground.
QString about_text(const QString &guide_page, const QString &link_colour);
