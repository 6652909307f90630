// What the list's area says while no row shows.
#include "gui/empty_texts.h"

namespace {

QString nothing_matches(const EmptyFacts &facts)
{
    // A pasted text may be of any length; the search box shows it anyway.
    constexpr int longest = 60;
    const QString search
        = facts.search.size() > longest ? facts.search.left(longest) + "…" : facts.search;
    if (facts.devices == 1)
        return "The only device does not match \"" + search + "\"";
    return "None of the " + QString::number(facts.devices) + " devices matches \"" + search + "\"";
}

} // namespace

EmptyTexts empty_texts(const EmptyFacts &facts)
{
    if (facts.devices == 0 && facts.network.isEmpty())
        return {.headline = "No network",
                .hint = "Connect a cable, or a Wi-Fi with an IPv4 address."};
    if (facts.devices == 0)
        return {.headline = "No device on " + facts.network,
                .hint = facts.has_waited ? "Look at the cable, the network box above and the "
                                           "firewall (UDP 7054 and 7055)."
                                         : ""};
    if (facts.hidden == facts.devices && !facts.search.isEmpty())
        return {.headline = nothing_matches(facts), .hint = "Clear the search to see them."};
    return {};
}
