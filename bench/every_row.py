"""The rows of the benchmark, group by group."""

from row import Row
from rows_arrays import ARRAYS, FILTERS
from rows_calls import CALLS, SYMBOL
from rows_dask import DASK
from rows_parts import PARTS
from rows_records import RECORDS
from rows_references import REFERENCES
from rows_texts import TEXTS
from rows_threads import THREADS
from rows_walks import WALKS

GROUPS: dict[str, list[Row]] = {
    "symbol": SYMBOL,
    "calls": CALLS,
    "arrays": ARRAYS,
    "filters": FILTERS,
    "parts": PARTS,
    "threads": THREADS,
    "texts": TEXTS,
    "records": RECORDS,
    "references": REFERENCES,
    "walks": WALKS,
    "dask": DASK,
}
