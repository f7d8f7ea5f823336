# HTML diff script, page builder and web view.
