"""The API reference: what Doxygen has read of the public headers, written as Markdown, one page a header.

A page says what to include, and has everything that the header declares for hosts, in the header's order: each declaration as
C++, and below it what its comment says.
"""

import json
import re
import sys
import textwrap
import xml.etree.ElementTree as ElementTree
from pathlib import Path

from pygments.lexers import CppLexer
from pygments.token import Error

FIELDS = ("Errors", "Ownership", "Thread", "Lifetime", "Units", "Source", "Observable")
FOLDERS = {
    "Sources": "Printing, and the user agent",
    "CookieJar": "Cookie jars",
    "Extensions": "Additions to platform types",
    "FileWatcher": "File watching",
    "MailTo": "Mail links",
    "Models": "Accounts and themes",
    "Utility": "Utilities",
    "View": "Views",
    "WebView": "Web views",
    "ApplicationKit": "Platform: ApplicationKit",
    "Dispatch": "Platform: Dispatch",
    "FileWatchers": "Platform: FileWatchers",
    "Foundation": "Platform: Foundation",
    "Images": "Platform: Images",
    "Native": "Platform: Native",
    "WebKit": "Platform: WebKit",
}


# ---- what a comment says, as Markdown ----------------------------------------------------------------------------------


def escaped(text):
    return re.sub(r"([\\`*_\[\]<>#|~$])", r"\\\1", re.sub(r"\s+", " ", text))


def inline(node):
    parts = [escaped(node.text or "")]
    for child in node:
        plain = "".join(child.itertext())
        if child.tag == "computeroutput":
            fence = "``" if "`" in plain else "`"
            parts.append(fence + re.sub(r"\s+", " ", plain) + fence)
        elif child.tag in ("bold", "emphasis"):
            mark = "**" if child.tag == "bold" else "*"
            parts.append(mark + inline(child) + mark)
        elif child.tag == "ulink":
            parts.append(f"[{inline(child)}]({child.get('url')})")
        elif child.tag == "linebreak":
            parts.append("\n")
        elif len(child) == 0 and not plain:
            parts.append({"ndash": "–", "mdash": "—", "nonbreakablespace": "\u00a0"}.get(child.tag, ""))
        else:
            parts.append(inline(child))
        parts.append(escaped(child.tail or ""))
    return "".join(parts)


def fenced(code):
    code = textwrap.dedent(code).strip("\n").rstrip()
    is_cpp = all(kind is not Error for kind, _ in CppLexer().get_tokens(code))
    return f"```{'cpp' if is_cpp else 'text'}\n{code}\n```"


BLOCKS = ("itemizedlist", "orderedlist", "verbatim", "preformatted", "programlisting", "table", "simplesect")


def blocks(node):
    """The Markdown blocks of a description or a list's item."""
    result = []
    for para in node:
        if para.tag in BLOCKS:
            result += block(para)
        elif para.tag in ("para", "sect1", "sect2"):
            run = ElementTree.Element("run")
            run.text = para.text
            for child in para:
                if child.tag not in BLOCKS:
                    run.append(child)
                    continue
                result += [inline(run).strip()] + block(child)
                run = ElementTree.Element("run")
                run.text = child.tail
            result.append(inline(run).strip())
    return [text for text in result if text]


def block(node):
    if node.tag in ("itemizedlist", "orderedlist"):
        mark = "- " if node.tag == "itemizedlist" else "1. "
        items = ["\n\n".join(blocks(item)) for item in node]
        return ["\n".join(mark + textwrap.indent(item, " " * len(mark)).lstrip() for item in items)]
    if node.tag == "simplesect":
        return blocks(node)
    if node.tag == "programlisting":
        lines = []
        for codeline in node:
            line = ""
            for highlight in codeline:
                line += highlight.text or ""
                for child in highlight:
                    line += (" " if child.tag == "sp" else "".join(child.itertext())) + (child.tail or "")
            lines.append(line)
        return [fenced("\n".join(lines))]
    if node.tag in ("verbatim", "preformatted"):
        return [fenced("".join(node.itertext()))]
    rows = [[" ".join(blocks(entry)).replace("\n", " ") for entry in row] for row in node if row.tag == "row"]
    lines = ["| " + " | ".join(row) + " |" for row in rows]
    return ["\n".join([lines[0], "|" + "---|" * len(rows[0])] + lines[1:])]


def description(node):
    """A comment's paragraphs; what it says of errors, threads and the like stands at its end, as a list."""
    said, fields = [], []
    for part in ("briefdescription", "detaileddescription"):
        found = node.find(part)
        for text in blocks(found) if found is not None else ():
            field = re.match(rf"({'|'.join(FIELDS)}): (.*)", text, re.DOTALL)
            if field:
                fields.append(f"- **{field[1]}:** {field[2]}")
            else:
                said.append(text)
    return "\n\n".join(said + (["\n".join(fields)] if fields else []))


# ---- declarations ------------------------------------------------------------------------------------------------------


def plain(node):
    return "" if node is None else re.sub(r"\s+", " ", "".join(node.itertext())).strip()


def spelled(code):
    """As the project formats it, where Doxygen puts spaces of its own."""
    code = re.sub(r"<\s+", "<", code)
    code = re.sub(r"\s+>", ">", code)
    code = re.sub(r"(?<=[\w>])\s+([&*]+)\s*(?=\w)", r"\1 ", code)
    code = re.sub(r"(?<=[\w>])\s+([&*]+)(?=[),>]|$)", r"\1", code)
    code = re.sub(r"(?<=[\w)\]}])=(?=[\w{\[\"'-])", " = ", code)
    return code.replace("operator = ", "operator=")


def parts_of(arguments):
    """The text between the commas that are in no bracket."""
    depth, begin = 0, 0
    for position, character in enumerate(arguments):
        if character in "(<[{":
            depth += 1
        elif character in ")>]}" and arguments[position - 1] != "-":
            depth -= 1
        elif character == "," and depth == 0:
            yield arguments[begin:position].strip()
            begin = position + 1
    yield arguments[begin:].strip()


def broken(line):
    """One parameter a line, where one line is not enough."""
    begin = line.find("(")
    if len(line) <= 92 or begin < 0:
        return line
    depth = 0
    for end in range(begin, len(line)):
        depth += (line[end] == "(") - (line[end] == ")")
        if depth == 0:
            break
    return line[: begin + 1] + "\n    " + ",\n    ".join(parts_of(line[begin + 1 : end])) + line[end:]


def template_line(node):
    parameters = node.find("templateparamlist")
    if parameters is None:
        return ""
    names = []
    for parameter in parameters:
        text = plain(parameter.find("type"))
        name = plain(parameter.find("declname"))
        if name and not text.endswith(name):
            text += " " + name
        default = plain(parameter.find("defval"))
        names.append(text + (" = " + default if default else ""))
    requires = plain(node.find("requiresclause"))
    return spelled(f"template <{', '.join(names)}>\n") + (f"    requires {requires}\n" if requires else "")


def function(node):
    name, arguments = plain(node.find("name")), plain(node.find("argsstring"))
    head = "".join(
        word + " "
        for word, said in (
            ("static", node.get("static") == "yes"),
            ("explicit", node.get("explicit") == "yes"),
            ("virtual", node.get("virt") != "non-virtual" and "override" not in arguments),
        )
        if said
    )
    kind = plain(node.find("type"))
    kind = re.sub(r"^(inline|constexpr) (?=virtual)", "", kind).replace("virtual ", "")
    line = broken(spelled(head + (kind + " " if kind else "") + name + arguments))
    line = re.sub(r"\)\s*= ?(0|default|delete)$", r") = \1", line)
    line = re.sub(r"(const|override|noexcept)\s*= ?(0|default|delete)$", r"\1 = \2", line)
    return template_line(node) + line + ";"


def declaration(node):
    kind, name = node.get("kind"), plain(node.find("name"))
    if kind == "function":
        return function(node)
    if kind == "typedef":
        return template_line(node) + broken(spelled(f"using {name} = {plain(node.find('type'))}{plain(node.find('argsstring'))};"))
    if kind == "enum":
        scoped = "enum class " if node.get("strong") == "yes" else "enum "
        base = plain(node.find("type"))
        values = [
            plain(value.find("name")) + (" " + plain(value.find("initializer")) if value.find("initializer") is not None else "")
            for value in node.findall("enumvalue")
        ]
        commented = any(description(value) for value in node.findall("enumvalue"))
        text = ", ".join(values)
        body = "    " + ",\n    ".join(values) if commented or len(text) > 80 else "    " + text
        return f"{scoped}{name}{' : ' + base if base else ''} {{\n{body}\n}};"
    if kind == "define":
        parameters = [plain(parameter) for parameter in node.findall("param")]
        return f"#define {name}" + (f"({', '.join(parameters)})" if parameters else "")
    if kind == "variable":
        kept = "static " if node.get("static") == "yes" else ""
        initial = plain(node.find("initializer"))
        initial = " " + initial if initial and len(initial) < 60 else ""
        return template_line(node) + spelled(f"{kept}{plain(node.find('type'))} {name}{plain(node.find('argsstring'))}") + initial + ";"
    return ""


def is_for_hosts(node):
    name = plain(node.find("name")) or plain(node.find("compoundname"))
    said = "".join("".join(part.itertext()) for part in node.findall("detaileddescription"))
    return (
        node.get("prot", "public") != "private"
        and node.get("kind") != "friend"
        and not name.endswith("Native")
        and not name.startswith("~")
        and "platform layer itself" not in said
        and not plain(node.find("argsstring")).endswith("=delete")
    )


# ---- pages -------------------------------------------------------------------------------------------------------------


class Reference:
    def __init__(self, xml):
        self.classes, self.members = {}, {}
        self.files = {}
        for path in sorted(Path(xml).glob("*.xml")):
            for compound in ElementTree.parse(path).iter("compounddef"):
                kind = compound.get("kind")
                if kind in ("class", "struct", "union"):
                    self.classes.setdefault(compound.find("location").get("file"), []).append(compound)
                elif kind == "file":
                    self.files[compound.find("location").get("file")] = compound
                    self.add_members(compound, ("define",))
                elif kind == "namespace":
                    self.add_members(compound, ("function", "typedef", "enum", "variable"))
        self.names = {}

    def add_members(self, compound, kinds):
        for node in compound.iter("memberdef"):
            if node.get("kind") in kinds:
                self.members.setdefault(node.find("location").get("file"), []).append(node)

    def write(self, headers, into):
        """One page each header, one each folder; returns where names are explained."""
        folders = {}
        for header in headers:
            folder = Path(header).parent.name
            page = f"reference/{folder}/{Path(header).stem}"
            text, summary = self.page(header, page)
            target = Path(into, page + ".md")
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_text(text)
            folders.setdefault(folder, []).append((Path(header).name, Path(header).stem, summary))
        for folder, pages in folders.items():
            rows = "".join(f"| [{name}]({stem}.md) | {summary} |\n" for name, stem, summary in sorted(pages))
            tree = "".join(stem + "\n" for _, stem, _ in sorted(pages))
            Path(into, f"reference/{folder}/index.md").write_text(
                f"# {FOLDERS[folder]}\n\n| Header | |\n|---|---|\n{rows}\n```{{toctree}}\n:hidden:\n\n{tree}```\n")
        listed = [folder for folder in FOLDERS if folder in folders]
        assert len(listed) == len(folders), f"a folder without a title: {set(folders) - set(listed)}"
        rows = "".join(
            f"| [{FOLDERS[folder]}]({folder}/index.md) | " + ", ".join(
                f"[{stem}]({folder}/{stem}.md)" for _, stem, _ in sorted(folders[folder])) + " |\n" for folder in listed)
        tree = "".join(folder + "/index\n" for folder in listed)
        Path(into, "reference/index.md").write_text(
            "# API reference\n\nEvery public header: what hosts may include, and what it says. Everything is in the namespace "
            f"`LumoKit`, macros apart.\n\n| | |\n|---|---|\n{rows}\n```{{toctree}}\n:hidden:\n\n{tree}```\n")
        return self.names

    def page(self, header, page):
        public = re.sub(r"^Sources/", "", header)
        if header not in self.files:
            sys.exit(f"Doxygen has not read {header}")
        intro = description(self.files[header])
        entries = [(self.line(node), node) for node in self.classes.get(header, ()) if is_for_hosts(node)]
        entries += [(self.line(node), node) for node in self.members.get(header, ()) if is_for_hosts(node)]
        entries.sort(key=lambda entry: entry[0])
        text = f"# {Path(header).stem}\n\n```cpp\n#include <LumoKit/{public}>\n```\n\n{intro}\n\n"
        summary, group, used = intro, [], set()
        for _, node in entries:
            if node.tag == "compounddef":
                text += self.group(group, page, "", used)
                group = []
                text += self.type(node, page, used)
                named = plain(node.find("compoundname")) == f"LumoKit::{Path(header).stem}"
                summary = description(node) if named and not intro else summary or description(node)
            else:
                group.append(node)
                if self.starts(group):
                    text += self.group(group[:-1], page, "", used)
                    group = group[-1:]
                summary = summary or description(node)
        text += self.group(group, page, "", used)
        summary = re.split(r"(?<=[.])\s|\n\n", summary, 1)[0].rstrip(":").replace("\n", " ").replace("|", "\\|")
        return text, summary

    @staticmethod
    def line(node):
        return int(node.find("location").get("line"))

    @staticmethod
    def starts(group):
        """Whether the last one begins an entry: it has a comment, or stands apart from the one before."""
        return len(group) > 1 and (
            bool(description(group[-1]))
            or Reference.line(group[-1]) - max(Reference.line(group[-2]), Reference.end(group[-2])) > 1
        )

    @staticmethod
    def end(node):
        location = node.find("location")
        return int(location.get("bodyend") or -1) if location.get("bodyfile") == location.get("file") else -1

    def group(self, group, page, owner, used):
        if not group:
            return ""
        shown = "\n".join(declaration(node) for node in group)
        anchors = []
        for node in group:
            name = plain(node.find("name"))
            full = f"{owner}::{name}" if owner else name
            anchor = ("" if owner else "LumoKit.") + re.sub(r"[^\w.~-]+", "-", full.replace("::", ".")).strip("-")
            if anchor and anchor not in used:
                used.add(anchor)
                anchors.append(anchor)
                self.names.setdefault(full, f"{page}#{anchor}")
        said = description(group[0])
        values = "".join(
            f"- `{plain(value.find('name'))}`: {description(value)}\n"
            for node in group if node.get("kind") == "enum" for value in node.findall("enumvalue") if description(value))
        spots = "".join(f'<span id="{anchor}"></span>' for anchor in anchors)
        return f'<div class="member">{spots}\n\n{fenced(shown)}\n\n{said}\n\n{values}\n\n</div>\n\n'

    def type(self, node, page, used):
        name = plain(node.find("compoundname")).removeprefix("LumoKit::")
        name = spelled(name)
        anchor = re.sub(r"[^\w.-]+", "-", name.replace("::", ".")).strip("-")
        self.names.setdefault(name, f"{page}#{anchor}")
        used.add(anchor)
        bases = [f"{base.get('prot')} {spelled(plain(base)).removeprefix('LumoKit::')}" for base in node.findall("basecompoundref")]
        kind = node.get("kind")
        head = template_line(node) + f"{kind} {name}{' : ' + ', '.join(bases) if bases else ''};"
        text = f'<div class="type"><span id="{anchor}"></span></div>\n\n'
        text += f"## {kind} {escaped(name)}\n\n```cpp\n{head}\n```\n\n{description(node)}\n\n"
        members = sorted((member for member in node.iter("memberdef") if is_for_hosts(member)), key=self.line)
        group = []
        for member in members:
            group.append(member)
            if self.starts(group):
                text += self.group(group[:-1], page, name, used)
                group = group[-1:]
        return text + self.group(group, page, name, used)


def write(xml, headers, into, names):
    Path(names).write_text(json.dumps(Reference(xml).write(headers, into), indent=1))
