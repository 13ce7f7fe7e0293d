#!/usr/bin/env python3
"""A generated tree of every language of the code web, for the benchmark.

    gen_mixed.py OUT KLOC [--seed N]

The generators of gen_tree.py write one subfolder per language, their shares
of KLOC as below, within 9,900 files in all.  Beside them: a
class_documentation naming every third Java and C++ class (and some classes
of no source), make files (.mak) whose objects are the C++ files, and
resource scripts (.rc) with dialogs.
"""
import argparse
import os
import random
import re
import subprocess
import sys

SHARES = {"java": 0.24, "cpp": 0.24, "cs": 0.12, "php": 0.10, "jsp": 0.08, "asp": 0.06, "vb": 0.08,
          "cobol": 0.08}
FILE_SHARES = {"java": 2400, "cpp": 2400, "cs": 1100, "php": 900, "jsp": 900, "asp": 600, "vb": 700,
               "cobol": 700}


def classes_of(folder, pattern):
    names = []
    for base, _, files in os.walk(folder):
        for f in files:
            if f.endswith((".java", ".h", ".hpp")):
                with open(os.path.join(base, f), encoding="latin-1") as fh:
                    names += pattern.findall(fh.read())
    return sorted(set(names))


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("out")
    ap.add_argument("kloc", type=int)
    ap.add_argument("--seed", type=int, default=1)
    a = ap.parse_args()
    here = os.path.dirname(os.path.abspath(__file__))
    rnd = random.Random(a.seed)
    os.makedirs(a.out, exist_ok=True)
    for lang, share in SHARES.items():
        k = max(1, int(a.kloc * share))
        subprocess.run([sys.executable, os.path.join(here, "gen_tree.py"), os.path.join(a.out, lang), str(k),
                        "--seed", str(a.seed), "--lang", lang, "--max-files", str(FILE_SHARES[lang])],
                       check=True, stdout=subprocess.DEVNULL)
    names = classes_of(a.out, re.compile(r"\bclass\s+([A-Z][A-Za-z0-9_]*)"))
    with open(os.path.join(a.out, "class_documentation"), "w") as f:
        for n in names[::3]:
            f.write("-c %s What %s is for, as the design says.~\n" % (n, n))
        for i in range(50):
            f.write("-c Planned%03d A class of the design that the code does not have yet.~\n" % i)
    cpp = []
    for base, _, files in os.walk(os.path.join(a.out, "cpp")):
        cpp += [os.path.splitext(f)[0] for f in files if f.endswith((".cpp", ".cc", ".c"))]
    cpp.sort()
    mak_dir = os.path.join(a.out, "make")
    os.makedirs(mak_dir, exist_ok=True)
    per = max(1, len(cpp) // 20)
    for i in range(0, len(cpp), per):
        part = cpp[i:i + per]
        with open(os.path.join(mak_dir, "part%02d.mak" % (i // per)), "w") as f:
            f.write("# generated\nPROJ=part%02d\nALL : \"$(OUTDIR)\\part%02d.dll\"\n" % (i // per, i // per))
            f.write("LINK32_OBJS= \\\n" + "".join("\t\"$(INTDIR)\\%s.obj\" \\\n" % o for o in part) + "\n")
            for o in part:
                f.write("\"$(INTDIR)\\%s.obj\" : %s.cpp\n" % (o, o))
    for r in range(10):
        with open(os.path.join(mak_dir, "ui%02d.rc" % r), "w") as f:
            f.write("#include \"resource.h\"\n")
            for d in range(rnd.randint(5, 15)):
                f.write("IDD_DLG%02d_%02d DIALOGEX 0, 0, 235, 55\nBEGIN\n    LTEXT \"Text %d\",-1,10,10,100,8\n"
                        "    DEFPUSHBUTTON \"OK\",IDOK,178,7,50,14\nEND\n\n" % (r, d, d))


if __name__ == "__main__":
    main()
