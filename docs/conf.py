"""How Sphinx makes the site; tools/make_docs.sh calls it."""

from pathlib import Path
from typing import Any

import furo

project = "h5gate"
copyright = "the h5gate developers"
extensions = ["myst_parser"]
myst_enable_extensions = ["colon_fence"]
myst_heading_anchors = 3
exclude_patterns = ["conf.py", "tasks.md"]
smartquotes = False  # names of constants stand in plain ones
html_theme = "furo"
html_title = "h5gate"
html_show_sphinx = False
html_use_index = False  # the reference is its own
html_static_path = ["static"]
html_css_files = ["side_by_side.css"]
highlight_language = "text"

SCRIPTS = "furo/static/scripts"
IMPORT = 'import Gumshoe from "./gumshoe-patched.js";\n'


def setup(app: Any) -> None:
    """Debian's furo has its script as it is written, not as it is bundled: browsers refuse the
    import in it. What it imports is loaded before it instead."""
    scripts = Path(furo.__file__).parent / "theme" / SCRIPTS
    if (scripts / "gumshoe-patched.js").exists():
        app.add_js_file("scripts/gumshoe-patched.js", priority=100)
        app.connect("build-finished", _without_import)


def _without_import(app: Any, _failure: Any) -> None:
    script = Path(app.outdir) / "_static/scripts/furo.js"
    script.write_text(script.read_text(encoding="utf-8").replace(IMPORT, ""), encoding="utf-8")
