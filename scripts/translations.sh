#!/bin/bash
# Collects the texts of the program into po/jumplark.pot and brings the catalogues up to date with it. Then fill in what
# is empty or marked fuzzy in po/*.po.
set -eu
cd "$(dirname "$0")/.."

collect() {
  find src -name '*.cpp' -o -name '*.h' | LC_ALL=C sort | xgettext --files-from=- --output="$1" --language=C++ \
    --from-code=UTF-8 --keyword --keyword=localized --keyword=localizedText --keyword=localizedFormat \
    --keyword=textForLater --add-location=file --sort-by-file --no-wrap --package-name=jumplark --copyright-holder='The Jumplark developers'
  # The time of collecting is no change.
  sed -i '/^"POT-Creation-Date:/d; s/CHARSET/UTF-8/' "$1"
}

collect po/jumplark.pot
for catalogue in po/*.po; do
  msgmerge --quiet --update --add-location=file --backup=none --no-wrap "$catalogue" po/jumplark.pot
  echo "$catalogue: $(msgfmt --statistics -o /dev/null "$catalogue" 2>&1)"
done
