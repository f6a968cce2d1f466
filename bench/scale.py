#!/usr/bin/env python3
"""Simulates a run of many nodes: what stragglers, shares and failing nodes cost.

    scale.py [--books N] [--nodes N] [--cores N] [--seconds S] [--task-seconds S] [--failures F]

Times of books are drawn from a log-normal distribution of the given mean, as those of texts are; the
largest book takes 2,000 times the mean. A table tells, for numbers of shares, how much longer than
the sum of the work by all cores the run takes: with and without failing nodes, with books in the
order of their names or the largest first.
"""

import argparse
import heapq
import math
import random

REPAIR = 1800  # seconds until a node is back
NOTICED = 300  # until the controller takes a silent node for dead: SlurmdTimeout
CHECKED = 0.02  # of the time of a book: to find that it is up to date


def times_of_books(chance, count, mean, spread=1.2):
    """Log-normal, cut off at 2,000 means."""
    location = math.log(mean) - spread * spread / 2
    return [min(chance.lognormvariate(location, spread), 2000 * mean) for _ in range(count)]


def time_of_share(books, cores, largest_first):
    """On one node, whose threads each take the next book."""
    ends = [0.0] * cores
    for seconds in sorted(books, reverse=True) if largest_first else books:
        heapq.heapreplace(ends, ends[0] + seconds)
    return max(ends)


def run(shares, nodes, failures_an_hour, start, chance):
    """Seconds until all shares are done, each on one node at a time, and how often one began again."""
    now = [(0.0, node) for node in range(nodes)]  # when each node is free
    heapq.heapify(now)
    waiting = list(reversed(shares))
    late, again, end = [], 0, 0.0
    while waiting or late:
        free, node = heapq.heappop(now)
        if late and (not waiting or late[0][0] <= free):
            begin, share = heapq.heappop(late)
            begin = max(begin, free)
        else:
            begin, share = free, waiting.pop()
        length = start + share
        dies = chance.expovariate(failures_an_hour / 3600) if failures_an_hour else math.inf
        if dies < length:
            again += 1
            done = max(0.0, dies - start)  # books that are there; to look at them costs little
            heapq.heappush(late, (begin + dies + NOTICED, share - done * (1 - CHECKED)))
            heapq.heappush(now, (begin + dies + REPAIR, node))
        else:
            end = max(end, begin + length)
            heapq.heappush(now, (begin + length, node))
    return end, again


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--books", type=int, default=10_000_000)
    parser.add_argument("--nodes", type=int, default=50)
    parser.add_argument("--cores", type=int, default=32)
    parser.add_argument("--seconds", type=float, default=0.02, help="of a core for a book")
    parser.add_argument("--task-seconds", type=float, default=1.0, help="that a task of Slurm costs")
    parser.add_argument("--failures", type=float, default=0.01, help="of each node an hour")
    parser.add_argument("--sample", type=int, default=1_000_000, help="books drawn; others are like them")
    parser.add_argument("--runs", type=int, default=50, help="whose mean is told")
    parser.add_argument("--seed", type=int, default=1)
    given = parser.parse_args()
    chance = random.Random(given.seed)
    sample = times_of_books(chance, min(given.books, given.sample), given.seconds)
    factor = given.books / len(sample)
    ideal = factor * sum(sample) / given.nodes / given.cores
    print(f"All cores at work all the time: {ideal:.0f} s")
    print("shares  order    failures  seconds   over  begun again")
    for count in (given.nodes, 4 * given.nodes, 20 * given.nodes, 100 * given.nodes):
        # A share has as many books as in the whole; where the sample is smaller, it is drawn again.
        size = given.books // count
        for largest_first in (False, True):
            some = [time_of_share(chance.choices(sample, k=size), given.cores, largest_first)
                    for _ in range(max(3, min(count, 1_000_000 // size)))]
            shares = chance.choices(some, k=count)
            for failures in (0.0, given.failures):
                runs = [run(shares, given.nodes, failures, given.task_seconds, chance) for _ in range(given.runs)]
                seconds, again = (sum(column) / given.runs for column in zip(*runs))
                order = "largest" if largest_first else "names"
                print(f"{count:6}  {order:7}  {failures:8.2f}  {seconds:7.0f}  {100 * (seconds / ideal - 1):4.1f}%"
                      f"  {again:11.1f}")


if __name__ == "__main__":
    main()
