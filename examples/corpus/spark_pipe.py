#!/usr/bin/env python3
"""A corpus on a cluster of Spark, whose workers have the command `vask` and see the same files.

spark-submit --conf spark.task.maxFailures=4 spark_pipe.py MANIFEST.jsonl FOLDER [PARTITIONS]

Spark feeds the lines of a partition to one process, and takes its records. If a process or an executor dies, Spark
discards what the partition has so far and starts it again elsewhere, up to four times; the folder gets _SUCCESS and the
partitions' files only when they are whole, so nothing is lost or there twice.
"""
import sys

from pyspark.sql import SparkSession

# Of the exit statuses, 3 says that some inputs failed, and their records why.
COMMAND = 'vask batch --manifest jsonl -j1 || [ $? -eq 3 ]'


def main(manifest, folder, partitions=0):
    context = SparkSession.builder.appName('vask batch').getOrCreate().sparkContext
    lines = context.textFile(manifest)
    # Of random order: long recordings lie apart.
    lines = lines.repartition(int(partitions) or 4 * context.defaultParallelism)
    lines.pipe(f"sh -c '{COMMAND}'", checkCode=True).saveAsTextFile(folder)


if __name__ == '__main__':
    main(*sys.argv[1:])
