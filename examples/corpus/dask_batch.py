#!/usr/bin/env python3
"""A corpus on a cluster of Dask, whose workers see the same files.

dask_batch.py MANIFEST.jsonl RECORDS.jsonl [SCHEDULER]    without SCHEDULER: workers on this machine

Workers that have the command `vask` run it and return its records; those that only have the Python package return
id, path and segments. If a worker dies, the scheduler gives its lines to another one; if three die of the same lines,
these are at fault, and the run fails. RECORDS appears when all of it is there, in the order of the manifest. If this
script dies, start it again, from the beginning: a run that must outlive that is better cut into shards (slurm.sh).
"""
import itertools
import json
import os
import shutil
import subprocess
import sys

from dask.distributed import Client

LINES = 50  # a task


def listen(lines):
    """The records of these lines of a manifest."""
    if shutil.which('vask'):
        done = subprocess.run(['vask', 'batch', '-j1'], input=''.join(lines), stdout=subprocess.PIPE, text=True)
        if done.returncode in (0, 3):  # 3: some inputs failed, and their records say why
            return done.stdout
        raise RuntimeError(f'vask batch: exit status {done.returncode}')
    import vask
    records = []
    for line in map(json.loads, lines):
        record = {'id': line.get('id', line['path']), 'path': line['path']}
        try:
            record['segments'] = [{'start': one.start, 'end': one.end} for one in vask.detect(line['path'])]
        except Exception as error:  # the other lines go on
            record.update(error=str(error), kind='audio')
        records.append(json.dumps(record) + '\n')
    return ''.join(records)


def main(manifest, target, scheduler=None):
    with Client(scheduler) as client, open(manifest) as lines, open(target + '.part', 'w') as out:
        pieces = iter(lambda: list(itertools.islice(lines, LINES)), [])
        # As many tasks at a time as keep all workers busy: the manifest may be longer than memory.
        while some := list(itertools.islice(pieces, 100 * max(1, len(client.scheduler_info()['workers'])))):
            for records in client.gather(client.map(listen, some, pure=False)):
                out.write(records)
    os.replace(target + '.part', target)


if __name__ == '__main__':
    main(*sys.argv[1:])
