#!/usr/bin/env python3
"""A deterministic source tree of realistic shape for the code web benchmark.

    gen_tree.py OUT_DIR KLOC [--seed N] [--lang LANG] [--max-files N]

Writes about KLOC thousand lines of Java below OUT_DIR/src: packages of 5 to
40 files, files of 40 to 900 lines (most short, a few long, as in real
projects), a third of the lines comments (block comments with star prefixes,
line comments, a licence header), classes with fields, constructors, methods
of default and public visibility, nested classes, interfaces, enums,
generics, annotations, lambdas, string literals with braces and quotes.
With --lang cpp the tree is C and C++ instead (gen_cpp.py), its files
sized so that KLOC fits within --max-files (default 9,900); cobol,
cobol-closure (2,000 programs, 5,000 copybooks, 500 tables at KLOC 100 or
0, half of each at 50), vb, jsp, asp, cs, php and sql write the other languages
(gen_more.py).
The same seed and size give the same bytes.
"""
import argparse
import os
import random

from gen_words import WORDS, ident
from gen_cpp import write_cpp_tree
from gen_more import WRITERS


def method(rng, out, indent, name, visibility):
    arg = ident(rng)
    out.append(f"{indent}/**\n{indent} * Computes the {rng.choice(WORDS)} of the {rng.choice(WORDS)}.\n"
               f"{indent} *\n{indent} * @param {arg} the {rng.choice(WORDS)}\n{indent} */\n")
    out.append(f"{indent}{visibility}long {name}(int {arg}) {{\n")
    body = rng.randint(3, 25)
    for i in range(body):
        r = rng.random()
        if r < 0.15:
            out.append(f"{indent}   // {rng.choice(WORDS)} {rng.choice(WORDS)} {rng.choice(WORDS)}\n")
        elif r < 0.3:
            out.append(f"{indent}   if ({arg} > {i})\n{indent}      {arg} -= {i + 1};\n")
        elif r < 0.4:
            out.append(f"{indent}   for (int k = 0; k < {arg}; k++) {{\n{indent}      total += k * {i};\n{indent}   }}\n")
        elif r < 0.5:
            out.append(f"{indent}   String s{i} = \"{{ {rng.choice(WORDS)} \\\"{i}\\\" }}\";\n")
        elif r < 0.6:
            out.append(f"{indent}   items.removeIf(x -> x.length() > {i});\n")
        else:
            out.append(f"{indent}   total += {arg} * {i} + {rng.randint(1, 99)};\n")
    out.append(f"{indent}   return total;\n{indent}}}\n\n")


def java_file(rng, pkg, cls, lines):
    out = ["/*\n * Copyright 2026 the generated benchmark tree.\n */\n",
           f"package {pkg};\n\n", "import java.util.ArrayList;\nimport java.util.List;\n\n"]
    kind = rng.random()
    out.append(f"/**\n * The {cls} of the {pkg.split('.')[-1]} part.\n *\n * - {rng.choice(WORDS)} rules\n */\n")
    if kind < 0.1:
        out.append(f"public interface {cls} {{\n\n   long size();\n\n   default boolean empty() {{\n      return size() == 0;\n   }}\n}}\n")
        return "".join(out)
    if kind < 0.15:
        out.append(f"public enum {cls} {{ FIRST, SECOND, THIRD;\n\n   int rank() {{\n      return ordinal() + 1;\n   }}\n}}\n")
        return "".join(out)
    out.append(f"@SuppressWarnings(\"unused\")\npublic class {cls} extends Base{rng.randint(1, 9)} implements Comparable<{cls}> {{\n\n")
    out.append("   private final List<String> items = new ArrayList<>();\n   long total;\n\n")
    out.append(f"   public {cls}() {{\n      super();\n   }}\n\n")
    n = 0
    while sum(s.count("\n") for s in out) < lines:
        vis = rng.choice(["public ", "", "protected ", "private ", ""])
        method(rng, out, "   ", f"{ident(rng)}{n}", vis)
        n += 1
        if n % 9 == 0:
            out.append(f"   static class Inner{n} {{\n")
            method(rng, out, "      ", f"inner{n}", "")
            out.append("   }\n\n")
    out.append(f"   @Override\n   public int compareTo({cls} o) {{\n      return Long.compare(total, o.total);\n   }}\n}}\n")
    return "".join(out)


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("out")
    ap.add_argument("kloc", type=int)
    ap.add_argument("--seed", type=int, default=1)
    ap.add_argument("--lang", default="java", choices=["java", "cpp"] + sorted(WRITERS))
    ap.add_argument("--max-files", type=int, default=9900)
    a = ap.parse_args()
    rng = random.Random(a.seed)
    target = a.kloc * 1000
    if a.lang == "cpp":
        files, written = write_cpp_tree(rng, a.out, target, a.max_files)
        print(f"{files} files, {written} lines in {a.out}/src")
        return
    if a.lang in WRITERS:
        files, written = WRITERS[a.lang](rng, a.out, target, a.max_files)
        print(f"{files} files, {written} lines in {a.out}")
        return
    written = files = 0
    p = 0
    while written < target:
        pkg = f"org.bench.part{p}.{rng.choice(WORDS)}"
        folder = os.path.join(a.out, "src", *pkg.split("."))
        os.makedirs(folder, exist_ok=True)
        for f in range(rng.randint(5, 40)):
            lines = int(min(900, max(40, rng.lognormvariate(5.0, 0.8))))
            cls = f"{ident(rng, True)}{f}"
            text = java_file(rng, pkg, cls, lines)
            with open(os.path.join(folder, cls + ".java"), "w") as fh:
                fh.write(text)
            written += text.count("\n")
            files += 1
            if written >= target:
                break
        p += 1
    print(f"{files} files, {written} lines in {a.out}/src")


if __name__ == "__main__":
    main()
