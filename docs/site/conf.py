"""How Sphinx makes the site of the pages that build.py has put together."""

import html
import json
import re
from pathlib import Path

from docutils import nodes
from sphinx.util.osutil import relative_uri

TREE = Path(__file__).resolve().parent.parent.parent

project = "LumoKit"
author = "The LumoKit developers"
copyright = author
release = re.search(r"project\(LumoKit VERSION ([\d.]+)", (TREE / "CMakeLists.txt").read_text())[1]
extensions = ["myst_parser"]
source_suffix = {".md": "markdown"}
myst_heading_anchors = 4
smartquotes = False
highlight_language = "none"
pygments_style = "none"  # the theme has the colours, light and dark
html_theme = "lumokit"
html_theme_path = [str(Path(__file__).parent)]
html_title = "LumoKit"
html_copy_source = False
html_use_index = False
html_permalinks_icon = "#"
html_show_sphinx = False
html_show_search_summary = False  # it would be read by requests, which file: has none of


# ---- links to what is no page --------------------------------------------------------------------------------------------


def keep_sources(app, docname, source):
    """A link to a file of the project that is no page leads to a copy of that file."""
    page = TREE / "docs" / docname if docname != "changelog" else TREE / "CHANGELOG"
    up = "../" * docname.count("/")

    def replaced(link):
        target = (page.parent / link[2]).resolve()
        if not target.is_file() or TREE / "docs" in target.parents:
            return link[0]
        elsewhere = {"README.md": "index.md", "CHANGELOG.md": "changelog.md"}.get(str(target.relative_to(TREE)))
        if elsewhere:
            return f"[{link[1]}]({up}{elsewhere})"
        copy = Path("sources", target.relative_to(TREE)).with_suffix(target.suffix + ".txt")
        Path(app.outdir, copy).parent.mkdir(parents=True, exist_ok=True)
        Path(app.outdir, copy).write_text(target.read_text())
        return f'<a href="{up}{copy}">{html.escape(link[1])}</a>'

    source[0] = re.sub(r"\[([^\]]*)\]\(([\w./+-]+)\)", replaced, source[0])


# ---- names that the reference explains ---------------------------------------------------------------------------------


def explained(app):
    if not hasattr(app, "explained_names"):
        app.explained_names = json.loads(Path(app.config.names).read_text())
    return app.explained_names


def address(app, docname, name):
    """Where the reference explains `name`, for a page; none where it does not, or the page is that one."""
    page, _, anchor = explained(app).get(name, "").partition("#")
    if not page:
        return None
    return f"#{anchor}" if page == docname else relative_uri(app.builder.get_target_uri(docname), app.builder.get_target_uri(page)) + "#" + anchor


def link_names(app, doctree, docname):
    """A name in a text leads to what the reference says of it; short words that only happen to be one do not."""
    for literal in list(doctree.findall(nodes.literal)):
        name = literal.astext().removesuffix("()")
        if isinstance(literal.parent, (nodes.reference, nodes.title)) or not re.search(r"[A-Z]", name):
            continue
        target = address(app, docname, name)
        if target and not (name[0].islower() and "::" not in name and not re.search(r"[a-z][A-Z]", name)):
            link = nodes.reference("", "", internal=True, refuri=target)
            literal.replace_self(link)
            link += literal


def link_code(app, pagename, templatename, context, doctree):
    """The kit's types in C++ lead there, too."""
    if not context.get("body") or not doctree:
        return

    def linked(token):
        target = address(app, pagename, token[2])
        return f'<a class="{token[1]}" href="{target}">{token[2]}</a>' if target else token[0]

    def block(code):
        return re.sub(r'<span class="(n|nc)">([A-Z]\w+)</span>', linked, code[0])

    context["body"] = re.sub(r'<div class="highlight-cpp.*?</pre>', block, context["body"], flags=re.DOTALL)


def drop_empty_heads(app, doctree):
    """A table without titles begins with its first row."""
    for head in list(doctree.findall(nodes.thead)):
        if not head.astext().strip():
            head.parent.remove(head)


def setup(app):
    app.add_config_value("names", "", "env")
    app.connect("source-read", keep_sources)
    app.connect("doctree-read", drop_empty_heads)
    app.connect("doctree-resolved", link_names)
    app.connect("html-page-context", link_code)
