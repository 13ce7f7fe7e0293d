"""The other languages of the benchmark trees (see gen_tree.py).

    cobol  programs in fixed form with copybooks, EXEC SQL with cursors and
           views, CALLs between programs; cobol-closure: the tree of 2,000
           programs, 5,000 copybooks and 500 tables for the dependency closure
    vb     modules and classes of Subs and Functions, MsgBox, CreateObject,
           Select Case, line continuations
    jsp    pages with include chains four deep, imports and scriptlets
    asp    pages with include chains four deep (one cycle per folder)
    cs     namespaces, classes with bases and interfaces, properties,
           generics, attributes, /// summaries, #region
    php    classes with methods, require chains, HTML parts, echo strings
    sql    one our_ERD.sql of tables and views

Each writer takes (rng, out, target_lines, max_files) and returns
(files, lines).
"""
import os

from gen_words import WORDS, ident


def _write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w") as fh:
        fh.write(text)
    return text.count("\n")


def _mean(target, max_files, per_module=1):
    return max(40, target // max(1, max_files // per_module))


# ------------------------------------------------------------------ COBOL

def _cobol_line(text, n):
    return f"{n:06d} {text}\n"


def cobol_program(rng, name, copies, calls, tables, lines):
    out = []
    n = 100
    def add(t):
        nonlocal n
        out.append(_cobol_line(t, n))
        n += 100
    add("IDENTIFICATION DIVISION.")
    add(f"PROGRAM-ID. {name}.")
    add(f"*  {name}: the {rng.choice(WORDS)} of the {rng.choice(WORDS)} batch.")
    add("DATA DIVISION.")
    add("WORKING-STORAGE SECTION.")
    add(f"01  WS-{name}-AREA.")
    add("    05  WS-COUNT            PIC 9(7) COMP.")
    add("    05  WS-TEXT             PIC X(40).")
    for c in copies:
        add(f"    COPY {c}.")
    add("    EXEC SQL INCLUDE SQLCA END-EXEC.")
    add("PROCEDURE DIVISION.")
    add("MAIN-PARA SECTION.")
    k = 0
    while len(out) < lines:
        r = rng.random()
        t = rng.choice(tables)
        if r < 0.1:
            cur = f"C-{name}-{k}"
            add(f"    EXEC SQL DECLARE {cur} CURSOR FOR")
            add(f"         SELECT {rng.choice(WORDS)}_ID, AMOUNT FROM {t}")
            add(f"         WHERE AMOUNT > :WS-COUNT ORDER BY 1")
            add("    END-EXEC.")
            add(f"    EXEC SQL OPEN {cur} END-EXEC.")
            add(f"    EXEC SQL FETCH {cur} INTO :WS-COUNT, :WS-TEXT END-EXEC.")
        elif r < 0.12:
            add(f"    EXEC SQL CREATE VIEW V_{name}_{k} AS")
            add(f"         SELECT ID FROM {t} WHERE ID > {k}")
            add("    END-EXEC.")
        elif r < 0.2:
            add(f"    EXEC SQL SELECT COUNT(*) INTO :WS-COUNT FROM {t}, {rng.choice(tables)}")
            add("         WHERE STATUS = 'A'")
            add("    END-EXEC.")
        elif r < 0.3 and calls:
            add(f"    CALL '{rng.choice(calls)}' USING WS-{name}-AREA.")
        elif r < 0.4:
            add(f"    DISPLAY '{rng.choice(WORDS)} ' WS-COUNT.")
        elif r < 0.5:
            add(f"*   {rng.choice(WORDS)} {rng.choice(WORDS)} {rng.choice(WORDS)}")
        elif r < 0.55:
            add(f"PARA-{k} SECTION.")
        else:
            add(f"    ADD {rng.randint(1, 99)} TO WS-COUNT.")
            add(f"    IF WS-COUNT > {rng.randint(100, 999)}")
            add("       MOVE ZERO TO WS-COUNT")
            add("    END-IF.")
        k += 1
    add("    GOBACK.")
    return "".join(out)


def cobol_copybook(rng, name, fields):
    out = [f"      * {name}: {rng.choice(WORDS)} record\n", f"       01  {name}-REC.\n"]
    for i in range(fields):
        out.append(f"           05  {name}-F{i:03d}    PIC X({rng.randint(1, 40)}).\n")
    return "".join(out)


def callees(rng, i, programs, names):
    """Calls as in a real system of subsystems of 100 programs: each
    subsystem is four layers of 25 (dialogue, business, data access,
    utilities); a program calls up to three programs of the next layer of
    its own subsystem, and one program in ten also calls one of the ten
    shared utilities of the first subsystem."""
    part, pos = divmod(i, 100)
    layer = pos // 25
    out = []
    if layer < 3:
        lo = part * 100 + (layer + 1) * 25
        hi = min(programs, lo + 25)
        if lo < hi:
            out = [names[j] for j in rng.sample(range(lo, hi), min(3, hi - lo))]
    if part > 0 and rng.random() < 0.1:
        out.append(names[75 + rng.randrange(min(10, programs - 75))] if programs > 85 else names[-1])
    return out


def write_cobol(rng, out, target, max_files, closure=False):
    if closure:
        # KLOC is a percentage here: 100 (or 0) is the whole closure tree,
        # 50 half of it, for the doubling measure
        scale = target / 100000 if target else 1
        programs, books, ntables = int(2000 * scale), int(5000 * scale), int(500 * scale)
        lines_p, fields = 60, 8
    else:
        programs = max(20, min(max_files // 3, target // 400))
        books = programs
        ntables = max(20, programs // 4)
        lines_p, fields = 0, 20
    tables = [f"T_{rng.choice(WORDS).upper()}_{i}" for i in range(ntables)]
    names = [f"P{i:05d}" for i in range(programs)]
    written = files = 0
    for b in range(books):
        written += _write(os.path.join(out, "copy", f"part{b // 200}", f"CB{b:05d}.cpy"),
                          cobol_copybook(rng, f"CB{b:05d}", fields))
        files += 1
    per = lines_p or max(60, (target - written) // programs)
    for i, name in enumerate(names):
        copies = [f"CB{rng.randrange(books):05d}" for _ in range(rng.randint(1, 4))]
        calls = callees(rng, i, programs, names)
        lines = int(max(30, rng.lognormvariate(0, 0.5) * per))
        written += _write(os.path.join(out, "cob", f"part{i // 100}", name + ".cbl"),
                          cobol_program(rng, name, copies, calls, tables, lines))
        files += 1
    sch = [f"CREATE SYNONYM S_{t} FOR {t};\n" for t in tables[::5]]
    written += _write(os.path.join(out, "tables.sch"), "".join(sch))
    er1 = [f"-  ec E_{t}\n d D_{rng.choice(WORDS).upper()} {t}.AMOUNT\n" for t in tables]
    written += _write(os.path.join(out, "tables.er1"), "".join(er1))
    return files, written


# --------------------------------------------------------------------- VB

def vb_module(rng, name, lines):
    out = [f"Attribute VB_Name = \"{name}\"\n", "Option Explicit\n",
           f"' {name}: the {rng.choice(WORDS)} of the {rng.choice(WORDS)}\n",
           "Dim m_count As Integer\n\n"]
    k = 0
    while sum(s.count("\n") for s in out) < lines:
        vis = rng.choice(["Public ", "Private ", ""])
        kind = rng.choice(["Sub", "Function"])
        fn = f"{ident(rng, True)}{k}"
        out.append(f"{vis}{kind} {fn}(ByVal n As Integer){' As Long' if kind == 'Function' else ''}\n")
        for i in range(rng.randint(3, 14)):
            r = rng.random()
            if r < 0.1:
                out.append(f"    MsgBox \"{rng.choice(WORDS)} \" & n\n")
            elif r < 0.15:
                out.append(f"    Set o = CreateObject(\"App.{ident(rng, True)}\")\n")
            elif r < 0.3:
                out.append(f"    Select Case n\n        Case {i}\n            n = n + 1\n        Case Else\n"
                           f"            n = 0\n    End Select\n")
            elif r < 0.4:
                out.append(f"    ' {rng.choice(WORDS)} {rng.choice(WORDS)}\n")
            elif r < 0.45:
                out.append(f"    s = \"{rng.choice(WORDS)} \" & _\n        \"{rng.choice(WORDS)}\"\n")
            else:
                out.append(f"    m_count = m_count + n * {i}\n")
        if kind == "Function":
            out.append(f"    {fn} = m_count\n")
        out.append(f"End {kind}\n\n")
        k += 1
    return "".join(out)


def write_vb(rng, out, target, max_files):
    mean = _mean(target, max_files)
    written = files = 0
    while written < target and files < max_files:
        name = f"Mod{files:05d}"
        ext = ".bas" if files % 4 else ".vbs"
        lines = int(min(mean * 4, max(30, rng.lognormvariate(0, 0.6) * mean)))
        written += _write(os.path.join(out, "vb", f"part{files // 300}", name + ext), vb_module(rng, name, lines))
        files += 1
    return files, written


# ------------------------------------------------------------- JSP and ASP

def _page_body(rng, lines, kind):
    out = []
    while len(out) < lines:
        r = rng.random()
        if r < 0.2:
            out.append(f"<p class=\"{rng.choice(WORDS)}\">{rng.choice(WORDS)} {rng.choice(WORDS)}</p>\n")
        elif r < 0.3:
            out.append(f"<!-- {rng.choice(WORDS)} -->\n")
        elif r < 0.5 and kind == "jsp":
            out.append(f"<% String s = \"{rng.choice(WORDS)}\"; out.println(s.length()); %>\n")
        elif r < 0.5:
            out.append(f"<% Response.Write \"{rng.choice(WORDS)}\" %>\n")
        else:
            out.append(f"<tr><td>{rng.choice(WORDS)}</td><td>{rng.randint(1, 999)}</td></tr>\n")
    return "".join(out)


def write_pages(rng, out, target, max_files, kind):
    mean = _mean(target, max_files)
    written = files = 0
    folder = 0
    while written < target and files < max_files:
        d = os.path.join(out, kind, f"part{folder}")
        n = rng.randint(5, 30)
        for i in range(n):
            lines = int(min(mean * 4, max(20, rng.lognormvariate(0, 0.6) * mean)))
            head = []
            # a chain four deep: page i includes page i+1, ...; in ASP the
            # last of a folder includes the first (a cycle)
            nxt = i + 1 if i + 1 < n else (0 if kind == "asp" else None)
            if nxt is not None and (i % 5) != 4:
                if kind == "jsp":
                    head.append(f"<%@ include file=\"p{nxt}.jsp\" %>\n")
                else:
                    head.append(f"<!-- #include file=\"p{nxt}.asp\" -->\n")
            if kind == "jsp":
                head.append(f"<%@ page import=\"java.util.*, org.bench.{rng.choice(WORDS)}.{ident(rng, True)}\" %>\n")
            text = "".join(head) + "<html><body>\n" + _page_body(rng, lines, kind) + "</body></html>\n"
            written += _write(os.path.join(d, f"p{i}.{kind}"), text)
            files += 1
            if written >= target:
                break
        folder += 1
    return files, written


# --------------------------------------------------------------------- C#

def cs_file(rng, ns, cls, base, lines):
    out = [f"// {cls}.cs\nusing System;\nusing System.Collections.Generic;\n\nnamespace {ns}\n{{\n",
           f"    /// <summary>\n    /// The {rng.choice(WORDS)} of a {rng.choice(WORDS)}.\n    /// </summary>\n",
           f"    [Serializable]\n    public class {cls} : {base}\n    {{\n",
           "        private int count;\n        public string Name { get; set; }\n\n",
           "        #region members\n"]
    k = 0
    while sum(s.count("\n") for s in out) < lines:
        vis = rng.choice(["public ", "protected ", "private ", "internal "])
        name = f"{ident(rng, True)}{k}"
        out.append(f"        /// <summary>\n        /// Computes the {rng.choice(WORDS)}.\n        /// </summary>\n"
                   f"        /// <param name=\"n\">the {rng.choice(WORDS)}</param>\n")
        out.append(f"        {vis}long {name}(int n)\n        {{\n            long total = 0;\n")
        for i in range(rng.randint(2, 12)):
            r = rng.random()
            if r < 0.2:
                out.append(f"            var list = new List<Dictionary<string, int>>();\n")
            elif r < 0.35:
                out.append(f"            string s{i} = $\"{{n}} {rng.choice(WORDS)}\";\n")
            elif r < 0.45:
                out.append(f"            // {rng.choice(WORDS)} {rng.choice(WORDS)}\n")
            else:
                out.append(f"            total += n * {i};\n")
        out.append("            return total;\n        }\n\n")
        k += 1
    out.append("        #endregion\n    }\n}\n")
    return "".join(out)


def write_cs(rng, out, target, max_files):
    mean = _mean(target, max_files)
    written = files = p = 0
    known = ["Object"]
    while written < target and files < max_files:
        ns = f"Bench.Part{p}.{rng.choice(WORDS).capitalize()}"
        for i in range(rng.randint(5, 30)):
            cls = f"{ident(rng, True)}{p}x{i}"
            lines = int(min(mean * 4, max(30, rng.lognormvariate(0, 0.6) * mean)))
            written += _write(os.path.join(out, "cs", f"part{p}", cls + ".cs"),
                              cs_file(rng, ns, cls, rng.choice(known), lines))
            known.append(cls)
            files += 1
            if written >= target:
                break
        p += 1
    return files, written


# -------------------------------------------------------------------- PHP

def php_file(rng, cls, requires, lines):
    out = [f"<html><!-- {cls} -->\n<?php\n"]
    out += [f"require_once '{r}';\n" for r in requires]
    out.append(f"\n/**\n * {cls}: the {rng.choice(WORDS)} of a {rng.choice(WORDS)}.\n */\n"
               f"class {cls}\n{{\n    private $count = 0;\n    const LIMIT = {rng.randint(1, 99)};\n\n")
    k = 0
    while sum(s.count("\n") for s in out) < lines:
        vis = rng.choice(["public ", "protected ", "private ", "public static "])
        out.append(f"    {vis}function {ident(rng)}{k}($n)\n    {{\n        $total = 0;\n")
        for i in range(rng.randint(2, 12)):
            r = rng.random()
            if r < 0.2:
                out.append(f"        echo \"<td class='{rng.choice(WORDS)}'>\" . $n . \"</td>\";\n")
            elif r < 0.35:
                out.append(f"        // {rng.choice(WORDS)} {rng.choice(WORDS)}\n")
            elif r < 0.45:
                out.append(f"        for ($i = 0; $i < $n; $i++) {{ $total += $i; }}\n")
            else:
                out.append(f"        $total += $n * {i};\n")
        out.append("        return $total;\n    }\n\n")
        k += 1
    out.append("}\n?>\n</html>\n")
    return "".join(out)


def write_php(rng, out, target, max_files):
    mean = _mean(target, max_files)
    written = files = p = 0
    known = []
    while written < target and files < max_files:
        for i in range(rng.randint(5, 30)):
            cls = f"{ident(rng, True)}{p}x{i}"
            lines = int(min(mean * 4, max(30, rng.lognormvariate(0, 0.6) * mean)))
            req = rng.sample(known, min(len(known), rng.randint(0, 3)))
            rel = f"part{p}/{cls}.php"
            written += _write(os.path.join(out, "php", rel), php_file(rng, cls, ["../" + r for r in req], lines))
            known.append(rel)
            if len(known) > 300:
                known.pop(0)
            files += 1
            if written >= target:
                break
        p += 1
    return files, written


# -------------------------------------------------------------------- SQL

def write_sql(rng, out, target, max_files):
    parts = []
    lines = 0
    t = 0
    while lines < target:
        name = f"T_{rng.choice(WORDS).upper()}_{t}"
        cols = rng.randint(3, 20)
        body = ",\n".join(f"    {rng.choice(WORDS).upper()}_{c} VARCHAR({rng.randint(1, 200)})" for c in range(cols))
        # a statement opens at a line of three blanks and CREATE
        parts.append(f"-- {name}: {rng.choice(WORDS)} data\n   CREATE TABLE {name} (\n    ID INTEGER NOT NULL,\n{body}\n);\n\n")
        lines += cols + 5
        if t % 5 == 4:
            parts.append(f"   CREATE OR REPLACE VIEW V_{t} AS\n    SELECT ID FROM {name}\n    WHERE ID > {t};\n\n")
            lines += 4
        t += 1
    text = "".join(parts)
    _write(os.path.join(out, "our_ERD.sql"), text)
    return 1, text.count("\n")


WRITERS = {"cobol": write_cobol, "vb": write_vb, "cs": write_cs, "php": write_php, "sql": write_sql,
           "jsp": lambda r, o, t, m: write_pages(r, o, t, m, "jsp"),
           "asp": lambda r, o, t, m: write_pages(r, o, t, m, "asp"),
           "cobol-closure": lambda r, o, t, m: write_cobol(r, o, t, m, closure=True)}
