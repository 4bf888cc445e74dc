#!/usr/bin/python3
"""build.py OUTPUT [RESULTS]: the documentation as a site, in OUTPUT.

The pages are those of docs/, README's list of them, and what Doxygen reads of the public headers. RESULTS is a run of the
benchmarks to draw, instead of docs/performance.json. Whatever warns, fails.
"""

import re
import shutil
import subprocess
import sys
from pathlib import Path

sys.dont_write_bytecode = True

import chart
import reference

SITE = Path(__file__).resolve().parent
TREE = SITE.parent.parent


def public_headers():
    """As the build has them: what is installed is what is explained."""
    listed = re.search(r"^set\(headers\n(.*?)\)$", (TREE / "CMakeLists.txt").read_text(), re.MULTILINE | re.DOTALL)[1].split()
    listed.append("Platform/Native/Gtk.h")
    return [header if header.startswith("Platform/") else "Sources/" + header for header in listed]


def read_headers(headers, into):
    settings = (SITE / "Doxyfile").read_text()
    settings += f'INPUT = {" ".join(f"{chr(34)}{TREE / header}{chr(34)}" for header in headers)}\n'
    settings += f'OUTPUT_DIRECTORY = "{into}"\nSTRIP_FROM_PATH = "{TREE}"\n'
    subprocess.run(["doxygen", "-"], input=settings, text=True, check=True, stdout=subprocess.DEVNULL)
    return into / "xml"


def guide_index():
    """README's list of the guide's pages."""
    rows = re.findall(r"^\| \[(.*?)\]\(docs/guide/(.*?)\) \| (.*) \|$", (TREE / "README.md").read_text(), re.MULTILINE)
    unlisted = {page.name for page in (TREE / "docs/guide").glob("*.md")} - {page for _, page, _ in rows}
    if unlisted:
        sys.exit(f"README.md does not list {', '.join(sorted(unlisted))}")
    lines = "".join(f"| [{title}]({page}) | {about} |\n" for title, page, about in rows)
    tree = "".join(page.removesuffix(".md") + "\n" for _, page, _ in rows)
    return f"# Guide\n\nEvery example is compiled in the tests.\n\n| | |\n|---|---|\n{lines}\n```{{toctree}}\n:hidden:\n\n{tree}```\n"


def stage(work, results):
    """All pages in one folder, where Sphinx finds them."""
    pages = work / "pages"
    for page in TREE.glob("docs/**/*.md"):
        if SITE not in page.parents:
            target = pages / page.relative_to(TREE / "docs")
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_text(page.read_text())
    shutil.copytree(TREE / "docs/pictures", pages / "pictures")
    shutil.copy(TREE / "CHANGELOG.md", pages / "changelog.md")
    shutil.copy(SITE / "index.md", pages / "index.md")
    (pages / "guide/index.md").write_text(guide_index())
    performance = pages / "performance.md"
    drawn = re.sub(r"^!\[[^\]]*\]\(pictures/performance\.svg\)$", lambda _: chart.svg(results), performance.read_text(), flags=re.MULTILINE)
    performance.write_text(drawn + "\n" + chart.table(results))
    return pages


def build(output, results):
    work = output.with_name(output.name + ".work")
    for folder in (work, output):
        shutil.rmtree(folder, ignore_errors=True)
    work.mkdir(parents=True)
    pages = stage(work, results)
    headers = public_headers()
    reference.write(read_headers(headers, work), headers, pages, work / "names.json")
    subprocess.run([sys.executable, "-m", "sphinx", "-q", "-W", "--keep-going", "-b", "html", "-c", SITE, "-d", work / "doctrees",
        "-D", f"names={work / 'names.json'}", pages, output], check=True)
    shutil.copytree(pages / "pictures", output / "pictures")
    shutil.rmtree(output / "_sources", ignore_errors=True)
    (output / ".buildinfo").unlink(missing_ok=True)
    shutil.rmtree(work)


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    last = Path(sys.argv[2]) if len(sys.argv) > 2 else TREE / "docs/performance.json"
    try:
        build(Path(sys.argv[1]).resolve(), chart.read(last))
    except subprocess.CalledProcessError as error:
        sys.exit(error.returncode or 1)
