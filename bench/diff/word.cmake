# Word diff benchmarks.
