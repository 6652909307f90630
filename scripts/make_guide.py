#!/usr/bin/python3
"""make_guide.py DOCS FOLDER: the guide as web pages, from DOCS/guide into FOLDER/guide.

With them come the pages that they lead to and the pictures that they show, each in the same place as
in DOCS, so that links stay what they are but for their ends. A link that leads nowhere is an error.
"""
import html
import pathlib
import re
import shutil
import sys

import markdown

STYLE = """
body { max-width: 46em; margin: 1.5em auto; padding: 0 1em; font: 16px/1.5 sans-serif;
  color: #222; background: #fff; }
h1, h2 { line-height: 1.2; margin-top: 1.6em; }
nav { font-size: 90%; border-bottom: 1px solid #ccc; padding-bottom: .5em; }
img { max-width: 100%; height: auto; }
table { border-collapse: collapse; margin: 1em 0; }
th, td { border: 1px solid #ccc; padding: .3em .6em; text-align: left; vertical-align: top; }
code { background: #eee; padding: 0 .2em; }
pre { background: #eee; padding: .6em; overflow-x: auto; }
pre code { padding: 0; }
a { color: #0645ad; }
@media (prefers-color-scheme: dark) {
  body { color: #ddd; background: #1b1b1b; }
  th, td, nav { border-color: #555; }
  code, pre { background: #333; }
  a { color: #8ab4f8; }
}
"""

PAGE = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>{title}</title>
<style>{style}</style>
</head>
<body>
{navigation}
{body}
</body>
</html>
"""


def anchor(heading, separator):
    """As web pages of repositories make them, so that links serve both."""
    return re.sub(r"[^a-z0-9 _-]", "", heading.lower()).replace(" ", separator)


def page_of(source):
    """README.md is where a reader begins."""
    return source.with_name("index.html" if source.name == "README.md" else source.stem + ".html")


class Maker:
    def __init__(self, docs, target):
        self.docs = docs.resolve()
        self.target = target
        self.waiting = []
        self.known = set()
        self.anchors = {}  # of each page
        self.wanted = []  # (page, link, page that is led to, anchor)

    def need(self, source):
        if source not in self.known:
            self.known.add(source)
            self.waiting.append(source)

    def place(self, source):
        return self.target / source.relative_to(self.docs)

    def run(self):
        chapters = sorted((self.docs / "guide").glob("[0-9]*.md"))
        for source in [self.docs / "guide" / "README.md", *chapters]:
            self.need(source)
        while self.waiting:
            source = self.waiting.pop(0)
            if source.suffix == ".md":
                self.write_page(source, chapters)
            else:
                self.place(source).parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(source, self.place(source))
        for page, link, other, name in self.wanted:
            if name not in self.anchors.get(other, set()):
                sys.exit(f"{page}: {link}: there is no such heading")

    def write_page(self, source, chapters):
        text = source.read_text(encoding="utf-8")
        title = re.match(r"# (.+)", text).group(1)
        body = markdown.markdown(
            text,
            extensions=["tables", "sane_lists", "toc"],
            extension_configs={"toc": {"slugify": anchor}},
        )
        if re.search(r"^ *([-*]|\d+\.) ", re.sub(r"(?s)<pre>.*?</pre>", "", body), re.MULTILINE):
            sys.exit(f"{source}: a list is not understood; put an empty line before it")
        self.anchors[source] = set(re.findall(r'<h\d id="([^"]*)"', body))
        body = re.sub(r'(href|src)="([^"]*)"', lambda found: self.follow(source, found), body)
        page = page_of(self.place(source))
        page.parent.mkdir(parents=True, exist_ok=True)
        page.write_text(
            PAGE.format(
                title=html.escape(title),
                style=STYLE,
                navigation=navigation(source, chapters),
                body=body,
            ),
            encoding="utf-8",
        )

    def follow(self, source, found):
        """The link's end as it is among the pages; what it leads to is made as well."""
        attribute, link = found.groups()
        if re.match(r"[a-z]+:", link):
            return found.group(0)
        path, _, name = link.partition("#")
        other = (source.parent / path).resolve() if path else source
        if not other.is_file() or self.docs not in other.parents:
            sys.exit(f"{source}: the link {link} leads nowhere")
        if name:
            self.wanted.append((source, link, other, name))
        # Beyond the guide one page deep: what is behind it is for developers.
        if source.parent.name != "guide" and other.suffix == ".md" and other not in self.known:
            return f'{attribute}="{link}"'
        self.need(other)
        if not path or other.suffix != ".md":
            return found.group(0)
        ended = str(pathlib.PurePosixPath(path).parent / page_of(other).name)
        return f'{attribute}="{ended}{"#" + name if name else ""}"'


def navigation(source, chapters):
    """Before, contents, next: to a page of the guide."""
    if source not in chapters:
        return "" if source.name == "README.md" else '<nav><a href="guide/index.html">Guide</a></nav>'
    number = chapters.index(source)
    links = ['<a href="index.html">Contents</a>']
    if number > 0:
        links.insert(0, f'<a href="{page_of(chapters[number - 1]).name}">Back</a>')
    if number + 1 < len(chapters):
        links.append(f'<a href="{page_of(chapters[number + 1]).name}">Next</a>')
    return f"<nav>{' · '.join(links)}</nav>"


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    Maker(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])).run()


if __name__ == "__main__":
    main()
