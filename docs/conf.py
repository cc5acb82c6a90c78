"""How Sphinx makes the site; tools/make_docs.sh calls it."""

project = "h5gate"
copyright = "the h5gate developers"
extensions = ["myst_parser"]
myst_enable_extensions = ["colon_fence"]
myst_heading_anchors = 3
exclude_patterns = ["conf.py"]
html_theme = "furo"
html_title = "h5gate"
html_show_sphinx = False
highlight_language = "text"
