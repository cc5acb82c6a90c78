#!/bin/bash
# Makes the site of the documents, in build/docs/html: the pages in docs/, those that the code
# says of itself, and the pictures that the tutorial draws.
set -eu
cd "$(dirname "$0")/.."
root=$PWD
pages=$root/build/docs/pages
export PYTHONPATH=$root/build/python:$root/tools PYTHONDONTWRITEBYTECODE=1 MPLBACKEND=Agg

rm -rf build/docs
mkdir -p "$pages" build/docs/run
cp -r docs/. "$pages"
/usr/bin/python3 tools/make_pages.py "$pages"

cd build/docs/run
/usr/bin/python3 "$root/tools/run_pages.py" "$root"/docs/tutorial/[1-6]_*.md
for picture in *.png; do
  cp "$picture" "$pages/tutorial/"
done
/usr/bin/python3 -m sphinx -W --keep-going -q -b html "$pages" ../html
echo "$root/build/docs/html/index.html"
