"""How much of everything: what people have, or, for a trial of the benchmark itself, next to
nothing (H5GATE_BENCH_TINY=1)."""

import os

TINY = os.environ.get("H5GATE_BENCH_TINY") == "1"

GRID = (64, 128) if TINY else (1024, 8192)  # of doubles: 64 MB
CHUNKS = (16, 32) if TINY else (64, 1024)  # 512 KB
SMALL_CHUNKS = (8, 16) if TINY else (32, 256)  # 64 KB
SMALL_READS = 50 if TINY else 10_000
TEXTS = 50 if TINY else 500_000
RECORDS = 50 if TINY else 1_000_000
REFERENCES = 20 if TINY else 100_000
LINKS = 20 if TINY else 100_000

# Seconds: of a contestant's turn at least, of a row about; and turns at least and at most.
TURN = 0.0 if TINY else 0.05
ROW = 0.0 if TINY else 2.5
ROUNDS = (1, 1) if TINY else (2, 8)
