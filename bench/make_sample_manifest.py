#!/usr/bin/env python3
"""Writes the sample checks manifest config/ruvex/ruvex_checks.txt.

The output is deterministic: every choice below follows from the position of
a check in its family. Run from anywhere:
    python3 bench/make_sample_manifest.py > config/ruvex/ruvex_checks.txt
"""
import sys

# Family prefix, package, main group, second group (for every third check),
# subjects and contexts. A check name is prefix-subject-context.
FAMILIES = [
    ("MEM", "core", "memory", "resources",
     ["leak", "double-release", "stale-handle", "size-mismatch", "unchecked-grab",
      "overlap-copy"],
     ["on-return", "in-loop", "in-constructor", "on-early-exit", "in-callback"]),
    ("PTR", "core", "pointers", "memory",
     ["null-deref", "dangling-alias", "cast-away-const", "arith-overflow",
      "compare-unrelated", "wild-offset"],
     ["in-argument", "after-move", "in-condition", "in-macro", "at-boundary"]),
    ("NUM", "core", "arithmetic", "portability",
     ["narrowing", "sign-mix", "shift-width", "divide-zero", "float-equality",
      "silent-wrap"],
     ["in-assignment", "in-loop-bound", "in-return", "in-index", "in-constant"]),
    ("FLOW", "core", "control-flow", "readability",
     ["dead-branch", "missing-default", "fallthrough", "unreachable-tail",
      "deep-nesting", "goto-backward"],
     ["in-switch", "in-loop", "after-throw", "in-lambda", "in-handler"]),
    ("RES", "safety", "resources", "memory",
     ["unclosed-stream", "lock-leak", "handle-reuse", "socket-leak",
      "temp-not-removed", "double-close"],
     ["on-error-path", "in-destructor", "in-loop", "on-return", "in-callback"]),
    ("CONC", "concurrency", "threads", "resources",
     ["unguarded-write", "lock-order", "wait-no-loop", "shared-static",
      "detached-worker", "racy-flag"],
     ["in-constructor", "in-callback", "on-shutdown", "in-loop", "at-startup"]),
    ("SEC", "safety", "security", "input",
     ["tainted-format", "unbounded-copy", "weak-random", "path-from-input",
      "secret-in-log", "unchecked-length"],
     ["in-parser", "in-argument", "on-network-read", "in-config", "in-macro"]),
    ("STY", "style", "layout", "readability",
     ["brace-style", "long-line", "mixed-indent", "trailing-blank",
      "cramped-operator", "dense-declaration"],
     ["in-header", "in-function", "in-class", "in-namespace", "in-macro"]),
    ("NAM", "style", "naming", "readability",
     ["short-identifier", "shadowed-name", "case-mismatch", "reserved-prefix",
      "misleading-plural", "numbered-suffix"],
     ["for-type", "for-member", "for-parameter", "for-constant", "for-macro"]),
    ("PRT", "portability", "portability", "arithmetic",
     ["int-size-assumed", "endian-assumed", "path-separator", "locale-assumed",
      "packed-layout", "char-signedness"],
     ["in-io", "in-struct", "in-cast", "in-constant", "in-serializer"]),
]

SEVERITIES = ["low", "medium", "high"]


def records():
    for prefix, package, group, second, subjects, contexts in FAMILIES:
        index = 0
        for subject in subjects:
            for context in contexts:
                name = "%s-%s-%s" % (prefix, subject, context)
                lines = ["checkname=" + name, "package=" + package,
                         "group=" + group]
                if index % 3 == 1:
                    lines.append("group=" + second)
                lines.append("default=" + ("on" if index % 4 != 3 else "off"))
                lines.append("severity=" + SEVERITIES[index % 3])
                if index % 13 == 12:
                    lines.append("visible=no")
                elif index % 5 == 0:
                    lines.append("visible=yes")
                index += 1
                yield lines


def main():
    out = sys.stdout
    count = 0
    for lines in records():
        out.write("\n".join(lines) + "\n\n")
        count += 1
    print("%d checks" % count, file=sys.stderr)


if __name__ == "__main__":
    main()
