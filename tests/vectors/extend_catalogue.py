#!/usr/bin/env python3
"""Adds a product or a property to catalogue.json, which says independently of the code what the
tables hold, and a product also to the lists of products in merge.json. Give it what the new row is
meant to say, not what the program makes of it.

  extend_catalogue.py product NAME --like OTHER --id N --icon FILE
      a product that stands behind OTHER and differs from it in these three only
  extend_catalogue.py property PATH --behind OTHER --label L --kind K [--needs CAP]... [--flags F]...
          [--min N] [--max N] [--unit U] [--decimals N]
      a generic property without choices; PATH and OTHER as in "dsp/delay", K, CAP and F by name
"""
import argparse
import json
import pathlib

CATALOGUE = pathlib.Path(__file__).with_name("catalogue.json")
MERGE = pathlib.Path(__file__).with_name("merge.json")
FOLLOWS_PRODUCT = "PF_FOLLOWS_PRODUCT"  # every property of a product has it, but product_id


def cases_of(catalogue, table):
    return [case for case in catalogue["cases"] if case["input"]["table"] == table]


def only(found, what):
    if len(found) != 1:
        raise SystemExit(f"{what}: found {len(found)} times, not once")
    return found[0]


def shift(cases, index, where):
    for case in cases:
        if case[where].get("index", -1) >= index:
            case[where]["index"] += 1


def add_product(catalogue, wanted):
    products = cases_of(catalogue, "product")
    like = only([case for case in products if case["expect"]["name"] == wanted.like], wanted.like)
    index = like["input"]["index"] + 1
    new = json.loads(json.dumps(like))
    new["why"] = wanted.name
    new["expect"].update(product_id=wanted.id, name=wanted.name, icon=":/icons/" + wanted.icon)
    shift(products, index, "input")
    shift(cases_of(catalogue, "lookup"), index, "expect")
    new["input"]["index"] = index
    catalogue["cases"].insert(catalogue["cases"].index(like) + 1, new)
    choices = only(cases_of(catalogue, "product_choices"), "product_choices")["expect"]["choices"]
    choices.insert(index, [wanted.id, wanted.name])
    merge = json.loads(MERGE.read_text(encoding="utf-8"))
    add_to_merge(merge, index, wanted)
    MERGE.write_text(as_text(merge), encoding="utf-8")


def add_to_merge(merge, index, wanted):
    for case in merge["cases"]:
        row = case["expect"]["rows"].get("product_id", {})
        if "choices" in row:
            row["choices"].insert(index, [{"t": "int", "v": wanted.id}, wanted.name])
        if "items" in row:
            row["items"].insert(index, wanted.name)
        if row.get("current", -1) >= index:
            row["current"] += 1


def generic_case(catalogue, wanted, index):
    flags = sum(catalogue["flags"][name] for name in wanted.flags)
    expect = {"path": wanted.path.split("/"),
              "needs": sorted(catalogue["capabilities"][name] for name in wanted.needs),
              "label": wanted.label, "flags": flags, "kind": catalogue["kinds"][wanted.kind],
              "min": wanted.min, "max": wanted.max, "unit": wanted.unit,
              "decimals": wanted.decimals, "choices": [], "user_value": {"t": "invalid"}}
    return {"why": f"generic row {index}", "input": {"table": "generic", "index": index},
            "expect": expect}


def add_property(catalogue, wanted):
    generic = cases_of(catalogue, "generic")
    behind = only([case for case in generic if case["expect"]["path"] == wanted.behind.split("/")],
                  wanted.behind)
    index = behind["input"]["index"] + 1
    new = generic_case(catalogue, wanted, index)
    shift(generic, index, "input")
    for case in generic:
        case["why"] = f"generic row {case['input']['index']}"
    catalogue["cases"].insert(catalogue["cases"].index(behind) + 1, new)
    keys = only(cases_of(catalogue, "keys"), "keys")["expect"]
    keys["keys"].insert(keys["keys"].index(wanted.behind) + 1, wanted.path)
    keys["count"] += 1
    for case in cases_of(catalogue, "product"):
        add_to_product(case["expect"], new["expect"], wanted.path,
                       catalogue["flags"][FOLLOWS_PRODUCT])


def add_to_product(product, row, key, follows_product):
    if not set(row["needs"]) <= set(product["capabilities"]):
        return
    product["properties"][key] = {"flags": row["flags"] | follows_product, "kind": row["kind"],
                                  "min": row["min"], "max": row["max"]}
    product["properties"] = dict(sorted(product["properties"].items()))
    product["map_size"] += 1


def as_text(vectors):
    """One case a line, so that a change shows as what it is."""
    head = {key: value for key, value in vectors.items() if key != "cases"}
    lines = [json.dumps(case, ensure_ascii=False, separators=(",", ":"))
             for case in vectors["cases"]]
    text = json.dumps(head, ensure_ascii=False, indent=1)[:-2]
    return text + ',\n "cases": [\n  ' + ",\n  ".join(lines) + "\n ]\n}\n"


def arguments():
    parser = argparse.ArgumentParser(description="Extends catalogue.json, see the head of this file.")
    kinds = parser.add_subparsers(required=True)
    product = kinds.add_parser("product")
    product.add_argument("name")
    for name, kind in (("--like", str), ("--id", int), ("--icon", str)):
        product.add_argument(name, type=kind, required=True)
    product.set_defaults(add=add_product)
    prop = kinds.add_parser("property")
    prop.add_argument("path")
    for name in ("--behind", "--label", "--kind"):
        prop.add_argument(name, required=True)
    prop.add_argument("--needs", action="append", default=[])
    prop.add_argument("--flags", action="append", default=[])
    prop.add_argument("--min", type=float, default="-inf")
    prop.add_argument("--max", type=float, default="inf")
    prop.add_argument("--unit", default="")
    prop.add_argument("--decimals", type=int, default=0)
    prop.set_defaults(add=add_property)
    return parser.parse_args()


def main():
    wanted = arguments()
    catalogue = json.loads(CATALOGUE.read_text(encoding="utf-8"))
    wanted.add(catalogue, wanted)
    CATALOGUE.write_text(as_text(catalogue), encoding="utf-8")


if __name__ == "__main__":
    main()
