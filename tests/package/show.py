"""usage: show.py results|names|properties FILE

Prints what ctest has written so that it can be compared. results are those of `ctest --output-junit`, a line
"STATUS NAME" for each test; names, and properties in lines "NAME: PROPERTY VALUE", are those that
`ctest --show-only=json-v1` tells.
"""
import json
import sys
import xml.etree.ElementTree

STATUS = {"run": "passed", "fail": "failed", "notrun": "skipped"}


def results(file):
    for case in xml.etree.ElementTree.parse(file).iter("testcase"):
        yield f"{STATUS[case.get('status')]} {case.get('name')}"


def tests(file):
    with open(file, encoding="utf-8") as stream:
        return json.load(stream)["tests"]


def names(file):
    return [test["name"] for test in tests(file)]


def properties(file):
    for test in tests(file):
        for row in test["properties"]:
            value = row["value"]
            text = " | ".join(value) if isinstance(value, list) else value
            yield f"{test['name']}: {row['name']} {text}"


SHOWN = {"results": results, "names": names, "properties": properties}
print("\n".join(sorted(SHOWN[sys.argv[1]](sys.argv[2]))))
