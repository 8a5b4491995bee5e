"""The documentation site. `script/docs` puts its pages together and calls Sphinx with this file."""

import os
import re
import sys

sys.path.insert(0, os.environ["VORIN_PYTHON_PACKAGE"])

import vorin  # noqa: E402

project = "Vorin"
release = version = vorin.__version__
html_title = f"Vorin {version}"
copyright = "the developers of Vorin"
language = "en"
smartquotes = False  # quotes in these pages are often those of a text that is typed

extensions = ["myst_parser", "sphinx.ext.autodoc", "numpydoc"]
exclude_patterns = ["_build"]
root_doc = "index"

myst_heading_anchors = 4
myst_enable_extensions = ["colon_fence"]

autodoc_member_order = "bysource"
autodoc_typehints = "none"  # the docstrings have them, with shapes and units
numpydoc_show_class_members = False
numpydoc_xref_param_type = False
numpydoc_class_members_toctree = False

# Sphinx looks for a page of every type in a signature or docstring; those of other packages have
# none here, since nothing is fetched.
nitpick_ignore_regex = [
    (r"py:.*", r"(numpy|np|matplotlib|pandas|xarray|pathlib|os|ctypes|threading)\..*"),
    (r"py:.*", r"(optional|array_like|callable|mapping|iterable|array|shape|path-like|sequence)"),
]

html_theme = "furo"
html_static_path = ["static"]
html_css_files = ["vorin.css"]
html_show_sphinx = False
html_copy_source = False
html_show_sourcelink = False
pygments_style = "friendly"
