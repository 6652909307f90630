#!/usr/bin/env python3
"""Draws the SVG sources of the product pictures, the application icon and the splash.

One visual family: slate cabinets with a light rim, lit from the top left. Colour tells the
family: amber is a tweeter or horn, steel a cone, green a module's board, blue a bridge. Cabinet
sizes within a series follow the products'. Lettering is drawn as strokes, so no font matters.
"""

import math
import pathlib

ICONS = pathlib.Path(__file__).resolve().parent / "icons"

RIM = "#dfe6ed"
EDGE = "#8a97a5"
AMBER = "#ffb02e"
STEEL = "#c3cfda"
DARK = "#12161b"

# Paints by name; a picture carries those that it uses.
GRADIENTS = {
    "body": ('linearGradient', 'x1="0" y1="0" x2="1" y2="1"',
        [(0, "#56616e"), (0.45, "#343d48"), (1, "#1c222a")]),
    "cone": ('radialGradient', 'cx="0.5" cy="0.5" r="0.5" fx="0.62" fy="0.66"',
        [(0, "#6d7b8a"), (0.65, "#313a45"), (1, "#171c22")]),
    "cap": ('radialGradient', 'cx="0.38" cy="0.34" r="0.7"',
        [(0, "#f4f8fb"), (0.5, STEEL), (1, "#6f7f8f")]),
    "amber": ('radialGradient', 'cx="0.38" cy="0.34" r="0.8"',
        [(0, "#ffe0a0"), (0.5, AMBER), (1, "#d97900")]),
    "board": ('linearGradient', 'x1="0" y1="0" x2="1" y2="1"',
        [(0, "#35c79f"), (1, "#0c7a60")]),
    "bridge": ('linearGradient', 'x1="0" y1="0" x2="1" y2="1"',
        [(0, "#5aa9ff"), (1, "#1559b7")]),
    "metal": ('linearGradient', 'x1="0" y1="0" x2="0" y2="1"',
        [(0, "#eef3f7"), (1, "#93a3b2")]),
    "night": ('linearGradient', 'x1="0" y1="0" x2="1" y2="1"',
        [(0, "#2c3642"), (0.6, "#171d24"), (1, "#0c1014")]),
}


def number(value):
    return f"{value:.1f}".rstrip("0").rstrip(".")


def points(pairs):
    return " ".join(f"{number(x)},{number(y)}" for x, y in pairs)


def rect(x, y, width, height, radius=0, fill=DARK, more=""):
    rounded = f' rx="{number(radius)}"' if radius else ""
    return (f'<rect x="{number(x)}" y="{number(y)}" width="{number(width)}"'
            f' height="{number(height)}"{rounded} fill="{fill}"{more}/>')


def circle(cx, cy, r, fill, more=""):
    return f'<circle cx="{number(cx)}" cy="{number(cy)}" r="{number(r)}" fill="{fill}"{more}/>'


def line(d, colour, width, more=""):
    return (f'<path d="{d}" fill="none" stroke="{colour}" stroke-width="{number(width)}"'
            f' stroke-linecap="round" stroke-linejoin="round"{more}/>')


def rimmed(shape, fill="url(#body)"):
    """A silhouette with its rim: a grey edge that holds on white, a light one that holds on black.

    `shape` is an element up to its attributes, without "/>".
    """
    return [f'{shape} fill="{EDGE}" stroke="{EDGE}" stroke-width="15" stroke-linejoin="round"/>',
            f'{shape} fill="{RIM}" stroke="{RIM}" stroke-width="10" stroke-linejoin="round"/>',
            f'{shape} fill="{fill}"/>']


def cabinet(width, height, cx=128, cy=128, radius=10, fill="url(#body)"):
    x, y = cx - width / 2, cy - height / 2
    return rimmed(f'<rect x="{number(x)}" y="{number(y)}" width="{number(width)}"'
                  f' height="{number(height)}" rx="{number(radius)}"', fill)


def polygon(pairs, fill="url(#body)"):
    return rimmed(f'<polygon points="{points(pairs)}"', fill)


def woofer(cx, cy, r):
    return [circle(cx, cy, r, STEEL),
            circle(cx, cy, r * 0.86, DARK),
            circle(cx, cy, r * 0.78, "url(#cone)"),
            circle(cx, cy, r * 0.32, "url(#cap)")]


def small_driver(cx, cy, r):
    return [circle(cx, cy, r, STEEL), circle(cx, cy, r * 0.72, DARK),
            circle(cx, cy, r * 0.36, "url(#cap)")]


def bead(cx, cy, r):
    """A cone of a long row: plain, since a ring as fine as that would turn grey in a list."""
    return [circle(cx, cy, r, STEEL), circle(cx, cy, r * 0.58, DARK)]


def coaxial(cx, cy, r):
    return woofer(cx, cy, r) + [circle(cx, cy, r * 0.44, DARK),
                                circle(cx, cy, r * 0.36, "url(#amber)")]


def horn(x, y, width, height, throat=0.34):
    """A rectangular horn seen from the front: four lit flanks that run to an amber throat."""
    tw, th = width * throat, height * throat
    left, top = x + (width - tw) / 2, y + (height - th) / 2
    right, bottom = left + tw, top + th
    outer = [(x, y), (x + width, y), (x + width, y + height), (x, y + height)]
    inner = [(left, top), (right, top), (right, bottom), (left, bottom)]
    shades = ["#0e1216", "#4a5663", "#8b99a7", "#222a33"]  # top, right, bottom, left
    flanks = [f'<polygon points="{points([outer[i], outer[(i + 1) % 4], inner[(i + 1) % 4], inner[i]])}"'
              f' fill="{shades[i]}"/>' for i in range(4)]
    return ([rect(x - 5, y - 5, width + 10, height + 10, 5, STEEL)] + flanks
            + [rect(left, top, tw, th, 3, "url(#amber)")])


def round_horn(cx, cy, r):
    return [circle(cx, cy, r, STEEL), circle(cx, cy, r * 0.88, "#1a2027"),
            circle(cx + r * 0.06, cy + r * 0.08, r * 0.62, "#3c4753"),
            circle(cx, cy, r * 0.4, "url(#amber)")]


def slot(x, y, width, height):
    return [rect(x, y, width, height, min(width, height) / 2, DARK),
            rect(x, y + height - 3, width, 3, 1.5, "#6b7886")]


# ---- point sources ------------------------------------------------------------------------------

def trapezoid(top, bottom, height, cy=128):
    y = cy - height / 2
    return [(128 - top / 2, y), (128 + top / 2, y),
            (128 + bottom / 2, y + height), (128 - bottom / 2, y + height)]


def r2():
    return polygon(trapezoid(196, 160, 176)) + horn(58, 60, 140, 82) + woofer(128, 181, 27)


def r3():
    return (polygon(trapezoid(212, 172, 220)) + horn(50, 38, 156, 92)
            + woofer(89, 187, 36) + woofer(167, 187, 36))


def r6():
    hexagon = [(54, 20), (202, 20), (240, 128), (202, 236), (54, 236), (16, 128)]
    return (polygon(hexagon) + horn(66, 34, 124, 44, 0.2) + horn(66, 178, 124, 44, 0.2)
            + horn(44, 93, 168, 70, 0.38))


def hm16c():
    return cabinet(164, 164, radius=26) + coaxial(128, 128, 66)


def hm16i():
    return cabinet(136, 212, radius=14) + round_horn(128, 78, 42) + woofer(128, 173, 50)


def hm24():
    return cabinet(146, 236, radius=12) + woofer(128, 61, 43) + horn(72, 112, 112, 32) + woofer(128, 195, 43)


def hm24j():
    j_shape = [(48, 12), (208, 12), (208, 172), (160, 244), (48, 244)]
    return (polygon(j_shape) + horn(64, 28, 128, 66)
            + woofer(118, 168, 56))


def e4():
    return (cabinet(132, 132, radius=34) + small_driver(128, 128, 48) + bolt(190, 186))


def e5():
    return (cabinet(136, 196, cy=122, radius=34) + circle_tweeter(128, 66, 24) + woofer(128, 148, 50))


def circle_tweeter(cx, cy, r):
    return [circle(cx, cy, r, STEEL), circle(cx, cy, r * 0.8, DARK), circle(cx, cy, r * 0.62, "url(#amber)")]


def bolt(cx, cy):
    """Power comes with the network cable."""
    mark = [(6, -34), (-20, 6), (-3, 6), (-8, 34), (20, -9), (3, -9)]
    mark = [(cx + x * 0.92, cy + y * 0.92) for x, y in mark]
    return [circle(cx, cy, 46, EDGE), circle(cx, cy, 43, RIM), circle(cx, cy, 38, "url(#bridge)"),
            f'<polygon points="{points(mark)}" fill="#ffffff"/>']


def d_series():
    back = [(92, 14), (240, 14), (228, 182), (104, 182)]
    front = [(16, 76), (164, 76), (152, 244), (28, 244)]
    return (polygon(back) + horn(116, 32, 100, 42)
            + polygon(front) + horn(42, 94, 96, 42) + woofer(90, 191, 42))


def tripoint():
    return (polygon([(128, 22), (240, 226), (16, 226)]) + circle_tweeter(128, 80, 25)
            + woofer(128, 162, 52) + [circle(56, 205, 8, STEEL), circle(200, 205, 8, STEEL)])


# ---- line sources -------------------------------------------------------------------------------

def column(count, height, pitch, r):
    """A slim column: its cones in one row from top to bottom, an amber ribbon beside them."""
    parts = cabinet(92, height, radius=12)
    parts += [rect(148, 128 - height / 2 + 14, 18, height - 28, 9, "url(#amber)")]
    first = 128 - (count - 1) * pitch / 2
    for index in range(count):
        parts += bead(114, first + index * pitch, r)
    return parts


def line_element(pairs_of_cones, height):
    """A stage column: cones on both flanks of one long amber slit."""
    parts = cabinet(132, height, radius=8)
    parts += [rect(109, 128 - height / 2 + 16, 38, height - 32, 6, DARK),
              rect(117, 128 - height / 2 + 24, 22, height - 48, 5, "url(#amber)")]
    pitch = (height - 16) / pairs_of_cones
    first = 128 - (pairs_of_cones - 1) * pitch / 2
    r = min(20, pitch / 2 - 4)
    for index in range(pairs_of_cones):
        y = first + index * pitch
        parts += bead(85, y, r) + bead(171, y, r)
    return parts


# ---- subwoofers ---------------------------------------------------------------------------------

def sub_square(side, r, ports):
    half = side / 2
    parts = cabinet(side, side)
    if ports == "slit":
        parts += slot(128 - half + 16, 128 + half - 22, side - 32, 14)
        return parts + woofer(128, 128 - 13, r)
    inset = half - 10
    reach = side * 0.25
    corners = [(-1, 1), (1, 1)] if ports == "feet" else [(-1, -1), (1, -1), (-1, 1), (1, 1)]
    for sx, sy in corners:
        x, y = 128 + sx * inset, 128 + sy * inset
        parts.append(f'<polygon points="{points([(x, y), (x - sx * reach, y), (x, y - sy * reach)])}"'
                     f' fill="{DARK}" stroke="#6b7886" stroke-width="3" stroke-linejoin="round"/>')
    return parts + woofer(128, 128, r)


def tsub1802():
    return (cabinet(236, 150) + slot(36, 182, 184, 12)
            + woofer(72, 118, 51) + woofer(184, 118, 51))


def chamfered(width, height, cut):
    left, right = 128 - width / 2, 128 + width / 2
    top, bottom = 128 - height / 2, 128 + height / 2
    return [(left + cut, top), (right - cut, top), (right, top + cut), (right, bottom - cut),
            (right - cut, bottom), (left + cut, bottom), (left, bottom - cut), (left, top + cut)]


def nsub1502():
    return (polygon(chamfered(238, 136, 28)) + slot(119, 76, 18, 104)
            + woofer(68, 128, 46) + woofer(188, 128, 46))


def nsub1801():
    return (polygon(chamfered(232, 200, 36)) + slot(24, 76, 14, 104) + slot(218, 76, 14, 104)
            + woofer(128, 128, 83))


def hm16sub():
    return (cabinet(204, 156, radius=26) + [rect(44, 68, 40, 10, 5, DARK), rect(44, 90, 40, 10, 5, DARK),
            rect(44, 112, 40, 10, 5, DARK), rect(44, 134, 40, 10, 5, DARK),
            rect(44, 156, 40, 10, 5, DARK), rect(44, 178, 40, 10, 5, DARK)]
            + woofer(156, 128, 62))


# ---- electronics --------------------------------------------------------------------------------

def pins(cx, cy, half, count, length=24, width=14):
    parts = []
    step = (2 * half - 12) / count
    for index in range(count):
        at = -half + 6 + step * (index + 0.5) - width / 2
        for x, y, w, h in ((cx + at, cy - half - length, width, length), (cx + at, cy + half, width, length),
                           (cx - half - length, cy + at, length, width), (cx + half, cy + at, length, width)):
            parts.append(rect(x, y, w, h, 3, "url(#metal)", f' stroke="{EDGE}" stroke-width="2.5"'))
    return parts


def aes67():
    """A network chip: what a device is as long as its product is not known."""
    nodes = [(84, 164), (128, 164), (172, 164)]
    parts = pins(128, 128, 84, 5) + cabinet(168, 168, radius=12)
    parts += [line("M128,98 V142 M84,158 V142 H172 V158 M128,142 V158", "#eaf1f7", 9)]
    parts += [rect(106, 70, 44, 38, 5, "url(#board)", ' stroke="#eaf1f7" stroke-width="6"')]
    parts += [rect(x - 16, y - 8, 32, 32, 5, "url(#board)", ' stroke="#eaf1f7" stroke-width="6"')
              for x, y in nodes]
    return parts


def jack(x, y, width, height):
    """A network socket seen from the front."""
    mouth = [(x + 10, y + height - 10), (x + 10, y + height * 0.42), (x + width * 0.3, y + height * 0.42),
             (x + width * 0.3, y + 12), (x + width * 0.7, y + 12), (x + width * 0.7, y + height * 0.42),
             (x + width - 10, y + height * 0.42), (x + width - 10, y + height - 10)]
    gold = [rect(x + width * (0.26 + 0.13 * i) - 2.5, y + height - 26, 6, 16, 0, AMBER) for i in range(5)]
    return [rect(x, y, width, height, 5, "url(#metal)", f' stroke="{EDGE}" stroke-width="2.5"'),
            f'<polygon points="{points(mouth)}" fill="{DARK}"/>'] + gold


def zem():
    """A module: green board, socket, processor, and its gold edge to the host."""
    parts = cabinet(212, 184, cy=122, radius=10, fill="url(#board)")
    parts += [rect(34 + 27 * i, 216, 17, 30, 2, AMBER, ' stroke="#b06f00" stroke-width="2.5"')
              for i in range(7)]
    parts += [line("M128,104 H150 M128,124 H150 M128,144 H150 M60,150 V186 H96 M180,158 V188 H140",
                   "#a8f0d8", 6)]
    parts += jack(34, 46, 92, 92)
    parts += [rect(148, 74, 72, 84, 6, "url(#body)", f' stroke="{RIM}" stroke-width="5"'),
              circle(162, 90, 5, RIM)]
    parts += [circle(112, 188, 12, "url(#cap)"), circle(60, 190, 10, RIM), circle(60, 190, 5, "#0c7a60"),
              circle(206, 190, 10, RIM), circle(206, 190, 5, "#0c7a60"), circle(206, 50, 10, RIM),
              circle(206, 50, 5, "#0c7a60")]
    return parts


def kavena():
    """A bridge: a blue box between two plugs, and the two ways through it."""
    plug = rect(8, 98, 52, 60, 4, "url(#metal)", f' stroke="{EDGE}" stroke-width="3"')
    tail = rect(196, 94, 52, 68, 4, "url(#metal)", f' stroke="{EDGE}" stroke-width="3"')
    parts = [plug, rect(18, 112, 11, 12, 0, DARK), rect(18, 132, 11, 12, 0, DARK), tail,
             rect(232, 106, 10, 7, 0, AMBER), rect(232, 118, 10, 7, 0, AMBER),
             rect(232, 130, 10, 7, 0, AMBER), rect(232, 142, 10, 7, 0, AMBER)]
    parts += cabinet(156, 148, radius=22, fill="url(#bridge)")
    parts += [line("M76,102 H176 M148,76 L178,102 L148,128", "#ffffff", 16),
              line("M180,156 H80 M108,130 L78,156 L108,182", "#0b2d63", 16)]
    return parts


PRODUCTS = {
    "R2": ("Horn-loaded point source", r2),
    "R3": ("Large horn-loaded point source", r3),
    "R6": ("Large point source, three horns", r6),
    "HM16Sub": ("Compact subwoofer with louvres", hm16sub),
    "HM16c": ("Compact coaxial point source", hm16c),
    "HM16i": ("Two-way installation loudspeaker", hm16i),
    "HM24": ("Midsize point source, horn between two cones", hm24),
    "HM24j": ("Midsize point source with one cut corner", hm24j),
    "TSub1001": ("Subwoofer, 10 inch", lambda: sub_square(150, 54, "slit")),
    "TSub1201": ("Subwoofer, 12 inch", lambda: sub_square(178, 66, "slit")),
    "TSub1501": ("Subwoofer, 15 inch", lambda: sub_square(206, 78, "feet")),
    "TSub1801": ("Subwoofer, 18 inch", lambda: sub_square(234, 94, "four")),
    "TSub1802": ("Subwoofer, two 18 inch", tsub1802),
    "N20": ("Stage column", lambda: line_element(3, 196)),
    "N24": ("Tall stage column", lambda: line_element(4, 238)),
    "NSub1502": ("Subwoofer, two 15 inch", nsub1502),
    "NSub1801": ("Subwoofer, 18 inch", nsub1801),
    "e4": ("Small loudspeaker fed by the network cable", e4),
    "e5": ("Small two-way loudspeaker", e5),
    "D-Serie": ("A series of cabinets", d_series),
    "Y1": ("Column, one cone", lambda: column(1, 96, 0, 29)),
    "Y2": ("Column, two cones", lambda: column(2, 144, 66, 28)),
    "Y4": ("Column, four cones", lambda: column(4, 184, 43, 19)),
    "Y6": ("Column, six cones", lambda: column(6, 214, 33.5, 15)),
    "Y8": ("Column, eight cones", lambda: column(8, 242, 28.5, 12.5)),
    "TriPoint": ("Triangular loudspeaker", tripoint),
    "AES67": ("Network chip: any or an unknown product", aes67),
    "ZEM-sign": ("Network audio module", zem),
    "kavena-sign": ("Bridge between USB and network", kavena),
}


# ---- lettering ----------------------------------------------------------------------------------

# Advance and strokes of each letter; capitals stand on 100 and are 100 high.
BOWL = "M64,66 A32,34 0 1 0 0,66 A32,34 0 1 0 64,66"
LETTERS = {
    " ": (34, ""),
    "V": (76, "M0,0 L38,100 L76,0"), "E": (56, "M56,0 H0 V100 H56 M0,50 H48"),
    "L": (52, "M0,0 V100 H52"), "M": (86, "M0,100 V0 L43,70 L86,0 V100"),
    "A": (80, "M0,100 L40,0 L80,100"),
    "R": (60, "M0,100 V0 H33 A27,27 0 0 1 33,54 H0 M32,54 L60,100"),
    "K": (60, "M0,0 V100 M58,0 L0,58 M20,38 L60,100"), "N": (70, "M0,100 V0 L70,100 V0"),
    "G": (84, "M72,15 A42,50 0 1 0 84,52 H48"),
    "H": (70, "M0,0 V100 M70,0 V100 M0,50 H70"), "a": (64, BOWL + " M64,32 V100"),
    "b": (64, BOWL + " M0,0 V100"), "d": (64, BOWL + " M64,0 V100"),
    "e": (66, "M0,66 H66 A33,34 0 1 0 54,92"),
    "g": (64, BOWL + " M64,32 V104 A24,24 0 0 1 40,128 H10"), "i": (0, "M0,32 V100 M0,6 V8"),
    "k": (50, "M0,0 V100 M48,32 L0,76 M16,62 L50,100"),
    "m": (96, "M0,100 V32 M0,60 A24,28 0 0 1 48,60 V100 M48,60 A24,28 0 0 1 96,60 V100"),
    "n": (58, "M0,100 V32 M0,62 A29,30 0 0 1 58,62 V100"),
    "o": (66, "M0,66 A33,34 0 1 1 66,66 A33,34 0 1 1 0,66 Z"),
    "r": (34, "M0,100 V32 M0,62 A30,30 0 0 1 30,32 H34"),
    "s": (50, "M48,44 C40,28 4,28 4,49 C4,68 50,62 50,82 C50,106 6,104 0,88"),
    "t": (38, "M14,8 V82 A18,18 0 0 0 32,100 H40 M0,32 H38"),
    "u": (58, "M0,32 V70 A29,30 0 0 0 58,70 M58,32 V100"),
    "w": (96, "M0,32 L24,100 L48,32 L72,100 L96,32"),
}


def lettering(text, x, y, height, colour, weight, spacing=30):
    """`text` with its top left at x, y; `height` is that of a capital, `weight` the stroke's."""
    scale = height / 100
    parts = [f"<!-- {text} -->",
             f'<g transform="translate({number(x)},{number(y)}) scale({scale:.3f})" fill="none"'
             f' stroke="{colour}" stroke-width="{number(weight / scale)}" stroke-linecap="round"'
             f' stroke-linejoin="round">']
    at = 0
    for letter in text:
        advance, strokes = LETTERS[letter]
        if strokes:
            parts.append(f'  <path transform="translate({at},0)" d="{strokes}"/>')
        at += advance + spacing
    return parts + ["</g>"]


# ---- the application's mark and the splash ------------------------------------------------------

def arc(cx, cy, r, start, end):
    """A stroke around cx, cy from angle `start` to `end`, degrees, clockwise from the right."""
    x1, y1 = cx + r * math.cos(math.radians(start)), cy + r * math.sin(math.radians(start))
    x2, y2 = cx + r * math.cos(math.radians(end)), cy + r * math.sin(math.radians(end))
    return f"M{number(x1)},{number(y1)} A{number(r)},{number(r)} 0 0 1 {number(x2)},{number(y2)}"


def application():
    """The V of the name: two arms between network nodes, sound rising from where they meet."""
    parts = ['<rect x="14" y="14" width="228" height="228" rx="52" fill="url(#bridge)"'
             f' stroke="{RIM}" stroke-width="8"/>']
    parts += [line(arc(128, 196, r, 248, 292), "#bcdcff", 14) for r in (66, 100, 134)]
    parts += [line("M62,74 L128,194 L194,74", "#ffffff", 26)]
    parts += [circle(62, 74, 27, "#ffffff"), circle(62, 74, 15, "url(#amber)"),
              circle(194, 74, 27, "#ffffff"), circle(194, 74, 15, "url(#amber)"),
              circle(128, 190, 33, "#ffffff"), circle(128, 190, 20, "url(#body)")]
    return parts


def array_element(x, y, angle):
    return [f'<g transform="translate({number(x)},{number(y)}) rotate({number(angle)})">',
            f'  <polygon points="-2,-15 58,-12 58,12 -2,15" fill="url(#body)" stroke="{EDGE}"'
            ' stroke-width="1.6" stroke-linejoin="round"/>',
            '  <rect x="-2" y="-11" width="7" height="22" rx="2" fill="url(#amber)"/>',
            '  <path d="M50,-8 V8" stroke="#9fb0c0" stroke-width="2.5" stroke-linecap="round"/>',
            "</g>"]


def splash():
    parts = ['<rect width="640" height="360" fill="url(#night)"/>']
    parts += [line(arc(760, -40, r, 100, 176), "#5aa9ff", 2.2, f' opacity="{opacity:.2f}"')
              for r, opacity in ((290, 0.42), (335, 0.34), (380, 0.27), (425, 0.21), (470, 0.16),
                                 (515, 0.12), (560, 0.09), (605, 0.06))]
    parts += [line("M525,0 V30 M564,0 V30", "#6b7886", 2.5)]
    x, y, angle = 516.0, 44.0, 2.0
    for step in (0, 1, 2, 3, 4, 6, 8, 10):
        parts += array_element(x, y, -angle)
        angle += step * 0.9 + 1
        x += 30 * math.sin(math.radians(angle))
        y += 30 * math.cos(math.radians(angle))
    parts += ['<rect x="48" y="244" width="56" height="5" rx="2.5" fill="url(#amber)"/>']
    parts += lettering("VELMARK", 48, 104, 62, "#ffffff", 8.5, 34)
    parts += lettering("Network Manager", 49, 188, 23, "#bcdcff", 2.6, 24)
    parts += lettering("VELMARK audio works GmbH", 49, 306, 13.5, "#b4c2cf", 1.7, 28)
    return parts


def definitions(body):
    parts = ["  <defs>"]
    for name, (kind, shape, stops) in GRADIENTS.items():
        if f"url(#{name})" in body:
            parts += [f'    <{kind} id="{name}" {shape}>']
            parts += [f'      <stop offset="{at}" stop-color="{colour}"/>' for at, colour in stops]
            parts += [f"    </{kind}>"]
    return "\n".join(parts + ["  </defs>"])


def write(name, title, parts, width=256, height=256):
    body = "\n".join("  " + part for part in parts)
    (ICONS / f"{name}.svg").write_text(
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}"'
        f' viewBox="0 0 {width} {height}">\n  <title>{title}</title>\n'
        f"{definitions(body)}\n{body}\n</svg>\n", encoding="utf-8")


def main():
    ICONS.mkdir(exist_ok=True)
    for name, (title, draw) in PRODUCTS.items():
        write(name, title, draw())
    write("velmark-network-manager", "VELMARK Network Manager", application())
    write("VELMARK", "VELMARK Network Manager, VELMARK audio works GmbH", splash(), 640, 360)


if __name__ == "__main__":
    main()
