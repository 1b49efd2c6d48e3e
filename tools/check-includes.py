#!/usr/bin/env python3
"""Each library includes only from itself and the libraries above it in the
README's Layout table (the table lists them bottom of the stack first).

Usage: check-includes.py [ROOT]. Prints one line per wrong include and exits
1 if there is any."""
import os
import re
import sys

ROW = re.compile(r"^\|\s*`([^`]+)/`\s*\|\s*`([^`]+)`\s*\|")
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"')


def layout(root):
    folders = []
    in_table = False
    with open(os.path.join(root, "README.md"), encoding="utf-8") as readme:
        for line in readme:
            if line.startswith("## "):
                in_table = line.strip() == "## Layout"
                continue
            match = ROW.match(line) if in_table else None
            if match:
                folders.append(match.group(1))
    return folders


def owner(path, folders):
    """Index of the most specific table folder holding `path`, or None."""
    best = None
    for index, folder in enumerate(folders):
        if path.startswith(folder + "/") and (best is None or len(folder) > len(folders[best])):
            best = index
    return best


def main():
    root = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else ".")
    folders = layout(root)
    if not folders:
        print("check-includes: no Layout table in README.md")
        return 1
    wrong = 0
    for folder in folders:
        for directory, _, names in os.walk(os.path.join(root, folder)):
            for name in sorted(names):
                if not name.endswith((".h", ".cpp")):
                    continue
                path = os.path.relpath(os.path.join(directory, name), root)
                level = owner(path, folders)
                if level is None or folders[level] != folder:
                    continue  # belongs to a more specific folder, checked there
                with open(os.path.join(root, path), encoding="utf-8", errors="replace") as source:
                    for number, line in enumerate(source, 1):
                        match = INCLUDE.match(line)
                        if not match:
                            continue
                        target = match.group(1)
                        local = os.path.normpath(os.path.join(os.path.dirname(path), target))
                        if os.path.exists(os.path.join(root, local)):
                            target = local
                        elif not os.path.exists(os.path.join(root, target)):
                            continue  # not a file of this repository
                        target_level = owner(target, folders)
                        if target_level is None or target_level > level:
                            where = folders[target_level] if target_level is not None else "outside the layout"
                            print(f"{path}:{number}: {folders[level]}/ includes {target} ({where}/)")
                            wrong += 1
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
