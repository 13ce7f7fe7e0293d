#!/usr/bin/env python3
"""The C and C++ part of the benchmark trees (see gen_tree.py).

Modules of a header and an implementation file each, in folders of 4 to 30
modules: headers with include guards, macros, typedefs and classes with
bases (some templates); implementation files with a licence header,
statics, `A::f` bodies that call each other and library functions,
`#ifdef _DEBUG` blocks, message-map style `ON_COMMAND` handlers, embedded
SQL text, and a third of the lines comments.  Some modules are plain C.
"""
import os

from gen_words import WORDS, ident


def header(rng, guard, cls, base, incs, template):
    out = [f"// {cls}.h : the {rng.choice(WORDS)} {rng.choice(WORDS)} interface\n",
           f"#ifndef {guard}\n#define {guard}\n\n"]
    out += [f'#include "{i}"\n' for i in incs]
    out.append("#include <vector>\n#include <string>\n\n")
    out.append(f"#define {cls.upper()}_MAX {rng.randint(8, 4096)}\n")
    out.append(f"typedef unsigned long {cls}Id;\n")
    out.append("typedef struct {\n   int x;\n   int y;\n} " + cls + "Point;\n\n")
    if template:
        out.append(f"template <class T>\nclass {cls}Box : public {base} {{\npublic:\n   T value;\n"
                   f"   T get() const {{ return value; }}\n}};\n\n")
    out.append(f"/**\n * {cls}: keeps the {rng.choice(WORDS)} of a {rng.choice(WORDS)}.\n */\n")
    out.append(f"class {cls} : public {base}\n{{\npublic:\n   {cls}();\n   virtual ~{cls}();\n")
    return out


def method_body(rng, out, cls, name, callees):
    arg = ident(rng)
    out.append(f"/////////////////////////////////////////////////////////////////\n"
               f"// {cls}::{name} - {rng.choice(WORDS)} the {rng.choice(WORDS)}\n\n")
    out.append(f"long {cls}::{name}( int {arg},   // the {rng.choice(WORDS)}\n"
               f"   const char* text )   // shown to the user\n{{\n   ASSERT( {arg} >= 0 );\n   long total = 0;\n")
    for i in range(rng.randint(3, 30)):
        r = rng.random()
        if r < 0.15:
            out.append(f"   // {rng.choice(WORDS)} {rng.choice(WORDS)} {rng.choice(WORDS)}\n")
        elif r < 0.3:
            out.append(f"   if ( {arg} > {i} ) total += {rng.choice(callees)}( {arg} );\n")
        elif r < 0.4:
            out.append(f"   for ( int k = 0; k < {arg}; k++ )\n   {{\n      total += k * {i};\n   }}\n")
        elif r < 0.47:
            out.append(f'   printf( "{{ {rng.choice(WORDS)} %d }}\\n", {arg} );\n')
        elif r < 0.52:
            out.append(f'   sprintf( buf, "SELECT * FROM {rng.choice(WORDS)} WHERE id = %d", {arg} );\n')
        elif r < 0.58:
            out.append("#ifdef _DEBUG\n   TRACE( \"debug %d\\n\", total );\n#else\n   total++;\n#endif\n")
        else:
            out.append(f"   total += {arg} * {i} + {rng.randint(1, 99)};\n")
    out.append("   return total;\n}\n\n")


def cpp_module(rng, folder, cls, base, incs, lines, plain_c):
    """Returns {file name: text} of one module."""
    guard = f"{cls.upper()}_H_INCLUDED"
    if plain_c:
        h = [f"/* {cls}.h */\n#ifndef {guard}\n#define {guard}\n\nlong {cls.lower()}_run(int n);\n\n#endif\n"]
        c = [f'/*\n * Copyright 2026 the generated benchmark tree.\n */\n#include <stdio.h>\n#include "{cls}.h"\n\n'
             f"static int {cls.lower()}_count = 0;\n\n"]
        n = 0
        while sum(s.count("\n") for s in c) < lines:
            c.append(f"/* {rng.choice(WORDS)} {rng.choice(WORDS)} */\nlong {cls.lower()}_{n}(int n)\n{{\n"
                     f"   int i;\n   long t = 0;\n   for (i = 0; i < n; i++)\n      t += i * {n};\n"
                     f"   {cls.lower()}_count++;\n   printf(\"%ld\\n\", t);\n   return t;\n}}\n\n")
            n += 1
        c.append(f"long {cls.lower()}_run(int n)\n{{\n   return {cls.lower()}_0(n);\n}}\n")
        return {cls + ".h": "".join(h), cls + ".c": "".join(c)}
    h = header(rng, guard, cls, base, incs, rng.random() < 0.2)
    names = [f"{ident(rng)}{i}" for i in range(max(2, lines // 25))]
    for n in names:
        h.append(f"   long {n}( int n, const char* text );\n")
    h.append("   afx_msg void OnFileOpen();\n   afx_msg void OnOrderSend();\n\nprivate:\n   int m_count;\n"
             "   DECLARE_MESSAGE_MAP()\n};\n\n#endif // " + guard + "\n")
    c = ["/*\n * Copyright 2026 the generated benchmark tree.\n */\n\n", f'#include "{cls}.h"\n',
         "#include <stdio.h>\n\n", f"static int s_{cls.lower()}Count = 0;\n\n",
         f"BEGIN_MESSAGE_MAP({cls}, {base})\n   ON_COMMAND(ID_FILE_OPEN, OnFileOpen)\n"
         f"   ON_COMMAND(ID_ORDER_SEND, OnOrderSend)\nEND_MESSAGE_MAP()\n\n",
         f"{cls}::{cls}()\n   : m_count( 0 )\n{{\n   s_{cls.lower()}Count++;\n}}\n\n{cls}::~{cls}()\n{{\n}}\n\n"]
    callees = names + ["strlen", "atoi", "abs"]
    for n in names:
        method_body(rng, c, cls, n, callees)
    c.append(f"void {cls}::OnFileOpen()\n{{\n   {names[0]}( 1, \"open\" );\n}}\n\n"
             f"void {cls}::OnOrderSend()\n{{\n   {names[-1]}( 2, \"send\" );\n}}\n")
    return {cls + ".h": "".join(h), cls + ".cpp": "".join(c)}


def write_cpp_tree(rng, out, target, max_files):
    written = files = p = 0
    mean = max(60, target // max(1, max_files // 2))
    known = []  # headers of earlier modules, for includes and bases
    while written < target:
        folder = os.path.join(out, "src", f"part{p}", rng.choice(WORDS))
        os.makedirs(folder, exist_ok=True)
        for m in range(rng.randint(4, 30)):
            lines = int(min(mean * 6, max(30, rng.lognormvariate(0, 0.8) * mean)))
            cls = f"C{ident(rng, True)}{p}x{m}"
            base = rng.choice(known)[1] if known and rng.random() < 0.7 else "CObject"
            incs = [k[0] for k in rng.sample(known, min(len(known), rng.randint(0, 3)))]
            for name, text in cpp_module(rng, folder, cls, base, incs, lines, rng.random() < 0.15).items():
                with open(os.path.join(folder, name), "w") as fh:
                    fh.write(text)
                written += text.count("\n")
                files += 1
            known.append((cls + ".h", cls))
            if len(known) > 200:
                known.pop(0)
            if written >= target:
                break
        p += 1
    return files, written
