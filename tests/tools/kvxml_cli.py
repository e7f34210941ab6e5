#!/usr/bin/env python3
"""Runs the kvxml program as a user would: each row gives arguments, standard input, the exit
status and text expected on standard output and standard error. Usage: kvxml_cli.py KVXML"""
import gzip
import json
import os
import subprocess
import sys
import tempfile

KVXML = os.path.abspath(sys.argv[1])
ORDER = ('<?xml version="1.0"?>\n<po xmlns="urn:po" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" id="7">\n'
         '\t<item sku="a&amp;b">Mower</item>\n\t<pay xsi:type="Card"><n>1</n></pay>\n</po>\n')
CANONICAL = ('<?xml version="1.0" encoding="UTF-8"?>\n<po xmlns="urn:po" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance"'
             ' id="7">\n\t<item sku="a&amp;b">Mower</item>\n\t<pay xsi:type="Card">\n\t\t<n>1</n>\n\t</pay>\n</po>\n')

# (arguments, standard input, exit status, on standard output, on standard error)
CASES = [
    (['--help'], '', 0, 'usage: kvxml <command>', ''),
    (['convert', '--help'], '', 0, '--json-mode', ''),
    (['check', '-h'], '', 0, 'usage: kvxml check', ''),
    ([], '', 2, '', 'no command given'),
    (['frob'], '', 2, '', "unknown command 'frob'"),
    (['convert', 'a.xml'], '', 2, '', 'needs an input and an output'),
    (['convert', 'a', 'b', 'c'], '', 2, '', 'one input and one output'),
    (['convert', 'order.xml', 'x.txt'], '', 2, '', 'give --to'),
    (['convert', 'order.xml', '-', '--to', 'yaml'], '', 2, '', "not 'yaml'"),
    (['convert', 'order.xml', '-', '--json-mode', '3'], '', 2, '', "not '3'"),
    (['convert', 'order.xml', '-', '--json-mode'], '', 2, '', 'needs a value'),
    (['convert', 'order.xml', '-', '--gzip', '--zlib'], '', 2, '', 'at most one'),
    (['convert', 'order.xml', '-', '--to', 'fi', '--utf16'], '', 2, '', 'XML and JSON output only'),
    (['convert', 'order.xml', '-', '--frob'], '', 2, '', "unknown option '--frob'"),
    (['check'], '', 2, '', 'at least one file'),
    (['convert', '-', '-'], ORDER, 0, CANONICAL, ''),
    (['convert', '-', '-', '--compact', '--to', 'json', '--json-mode', '1'], ORDER, 0, '"@sku": "a&b"', ''),
    (['convert', '-', '-'], '<a><b></a>', 1, '', 'mismatched tag at line 1'),
    (['convert', '-', '-'], '{"a": [1, }', 1, '', "found '}' at line 1"),
    (['convert', '-', '-'], '', 1, '', 'XML Stream is empty!'),
    (['convert', 'missing.xml', '-'], '', 1, '', 'cannot open missing.xml'),
    (['convert', 'order.xml', 'order.json', '--zlib'], '', 1, '', 'ZLIB Compression only available'),
    (['check', 'order.xml', 'bad.xml'], '', 1, 'order.xml: ok\nbad.xml: unclosed token at line 1', ''),
    (['check', 'order.xml', 'missing.xml'], '', 1, 'missing.xml: cannot open', ''),
]

# Conversions through files, each read back to the canonical XML: (output name, options).
CHAINS = [
    ('o.json', []), ('o.fi', []), ('o.xml.gz', []), ('o.json', ['--gzip', '--utf16']),
    ('o.out', ['--to', 'fi']), ('o.xml', ['--utf16', '--compact']), ('o.json', ['--json-mode', '2', '--compact']),
]


def run(args, stdin, cwd):
    return subprocess.run([KVXML] + args, input=stdin.encode(), capture_output=True, cwd=cwd, timeout=60)


def main():
    failures = []
    with tempfile.TemporaryDirectory() as cwd:
        with open(os.path.join(cwd, 'order.xml'), 'w') as f:
            f.write(ORDER)
        with open(os.path.join(cwd, 'bad.xml'), 'w') as f:
            f.write('<a')
        for args, stdin, status, out, err in CASES:
            r = run(args, stdin, cwd)
            stdout, stderr = r.stdout.decode(), r.stderr.decode()
            if r.returncode != status or out not in stdout or err not in stderr or (err and stderr.count('\n') != 1):
                failures.append(f'{args}: exit {r.returncode}\n  out: {stdout!r}\n  err: {stderr!r}')
        for name, options in CHAINS:
            r = run(['convert', 'order.xml', name] + options, '', cwd)
            back = run(['convert', name, '-'], '', cwd)
            if r.returncode != 0 or back.stdout.decode() != CANONICAL:
                failures.append(f'{name} {options}: {r.stderr!r} {back.stdout!r} {back.stderr!r}')
        # JSON output is JSON, in every mode.
        for mode in '012':
            try:
                json.loads(run(['convert', 'order.xml', '-', '--to', 'json', '--json-mode', mode], '', cwd).stdout)
            except ValueError as e:
                failures.append(f'json mode {mode}: {e}')
        with open(os.path.join(cwd, 'o.xml.gz'), 'rb') as f:
            if not gzip.decompress(f.read()).startswith(b'<?xml'):
                failures.append('o.xml.gz is not gzip')
        # A failed conversion leaves the old output as it was, and no temporary file beside it.
        with open(os.path.join(cwd, 'keep.xml'), 'w') as f:
            f.write('old')
        run(['convert', 'bad.xml', 'keep.xml'], '', cwd)
        with open(os.path.join(cwd, 'keep.xml')) as f:
            if f.read() != 'old':
                failures.append('a failed conversion changed its output')
        leftovers = [n for n in os.listdir(cwd) if 'kvxml-' in n]
        if leftovers:
            failures.append(f'temporary files left: {leftovers}')
    for f in failures:
        print('FAILED', f)
    print(f'{len(CASES) + len(CHAINS)} cases, {len(failures)} failed')
    return 1 if failures else 0


if __name__ == '__main__':
    sys.exit(main())
