# How cmake-format lays out the build files.
with section("parse"):
    additional_commands = {
        "esa_test": {
            "pargs": {"nargs": "1", "flags": ["EACH"]},
            "kwargs": {"SOURCES": "*", "LIBS": "*", "TIMEOUT": 1},
        },
    }
with section("format"):
    line_width = 100
    tab_size = 4
    max_pargs_hwrap = 6
    max_subgroups_hwrap = 3
    dangle_parens = False
with section("markup"):
    enable_markup = False
