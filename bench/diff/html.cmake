# HTML diff benchmarks.
