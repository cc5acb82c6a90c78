"""How Sphinx makes the site; tools/make_docs.sh calls it."""

project = "h5gate"
copyright = "the h5gate developers"
extensions = ["myst_parser"]
myst_enable_extensions = ["colon_fence"]
myst_heading_anchors = 3
exclude_patterns = ["conf.py", "tasks.md"]
html_theme = "furo"
html_title = "h5gate"
html_show_sphinx = False
html_static_path = ["static"]
html_css_files = ["side_by_side.css"]
highlight_language = "text"
