// Read once for all files of the rules: only speeds the build up, every file includes what it uses.
#include <QtCore>
#include <QtNetwork>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>
