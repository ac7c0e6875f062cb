"""Train the net: train.py SHARDS TUNING OUT [--batches N] [--sizes D,H1,H2] [--seed N] [--rate R] [--drop P]

SHARDS and TUNING are beginnings of file names as mix.py writes them, several for TUNING with commas between. The shards
are used in order, each once, then clips of all of them at random. OUT.pt gets the mean of the newest weights, and
OUT.log what the tuning material says.
"""
import argparse
import glob
import os
import time

os.environ.setdefault("OPENBLAS_NUM_THREADS", "1")  # its threads wait for each other more than they multiply
import numpy as np
import torch

from net import BANDS, DELAYS, OUTPUTS, Net
from score import auc
from voices import UNSURE

LOSS_WEIGHTS = (0.5, 1.0, 1.0, 1.0, 0.3)
BATCH = 64  # clips
SHARE_KEPT = 0.9985  # of the mean weights, a batch


def labels_of_steps(labels):
    """Frames to steps, and to what each output looks back at: (targets, weights), clips x steps x outputs."""
    pairs = labels.reshape(len(labels), -1, 2, labels.shape[-1])
    sure = (pairs != UNSURE).all(axis=2)
    value = np.where(sure, pairs.astype(np.float32).mean(axis=2), 0)
    targets = np.zeros((*sure.shape[:2], len(OUTPUTS)), np.float32)
    weights = np.zeros_like(targets)
    for i, (source, delay) in enumerate(zip((0, 0, 0, 1, 2), DELAYS)):
        steps = sure.shape[1] - delay
        targets[:, delay:, i] = value[:, :steps, source]
        weights[:, delay:, i] = sure[:, :steps, source]
    return targets, weights


def load(name):
    return np.load(name + ".features.npy"), np.load(name + ".labels.npy")


def varied(inputs, random):
    """Inputs as another microphone, at another level, would have given them."""
    x = torch.from_numpy(inputs.astype(np.float32))
    clips = len(x)
    decibel = 256 / 6.02  # of an amplitude, log2 in Q8
    position = torch.linspace(-1, 1, BANDS // 2).repeat(2)
    gain = torch.from_numpy(random.uniform(-14, 14, (clips, 1, 1)).astype(np.float32))
    tilt = torch.from_numpy(random.uniform(-7, 7, (clips, 1, 1)).astype(np.float32))
    bands = x[..., :BANDS] + (gain + tilt * position) * decibel
    noise = torch.from_numpy(random.standard_normal(bands.shape).astype(np.float32)) * 16
    bands = torch.clamp(bands + noise, min=0)
    for clip in np.flatnonzero(random.random(clips) < 0.3):
        first = int(random.integers(0, BANDS // 2 - 2))
        last = min(first + int(random.integers(1, 9)), BANDS // 2)
        floor = float(random.uniform(0, 1200))
        for start in (0, BANDS // 2):
            bands[clip, :, start + first:start + last] = torch.clamp(bands[clip, :, start + first:start + last], max=floor)
    x[..., :BANDS] = bands
    x[random.random(clips) < 0.08, :, BANDS:] = 0
    return x


def judge(net, inputs, targets, weights):
    """Of each output the area under the curve and the loss, as text; "-" where nothing is certain."""
    net.eval()
    with torch.no_grad():
        logits = torch.cat([net(torch.from_numpy(inputs[i:i + 50].astype(np.float32))) for i in range(0, len(inputs), 50)])
    logits = logits.numpy()
    said = []
    for i in range(len(OUTPUTS)):
        chosen = (weights[..., i] > 0) & (targets[..., i] != 0.5)
        z, t = logits[..., i][chosen], targets[..., i][chosen]
        said.append(f"{auc(t, z):.4f}/{np.mean(np.logaddexp(0, z) - t * z):.3f}" if chosen.any() else "-")
    return said


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    for name in ("shards", "tuning", "out"):
        parser.add_argument(name)
    parser.add_argument("--batches", type=int, default=4000)
    parser.add_argument("--sizes", default="48,80,64")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--rate", type=float, default=3e-3)
    parser.add_argument("--drop", type=float, default=0.1)
    return parser.parse_args()


def shards_of(prefix):
    """Features and labels of each shard, by its number and then by the part that mixed it."""
    names = sorted(glob.glob(prefix + "*.features.npy"), key=lambda n: (n.split("-")[-1], n))
    return [load(n[:-len(".features.npy")]) for n in names]


class Batches:
    """Clips of the shards: in order at first, then at random."""

    A_SHARD = 7  # batches: most of the 500 clips of a shard

    def __init__(self, shards, random):
        self.shards, self.random = shards, random
        self.order = None

    def get(self, number):
        index, part = divmod(number, self.A_SHARD)
        if index < len(self.shards):
            features, labels = self.shards[index]
            order = self.random.permutation(len(features))  # for each batch, as the built-in model was trained
            self.order = order if part == 0 else self.order
            chosen = self.order[part * BATCH:(part + 1) * BATCH]
            return features[chosen], labels[chosen]
        picks = [(int(self.random.integers(len(self.shards))), int(self.random.integers(500))) for _ in range(BATCH)]
        return tuple(np.stack([self.shards[s][kind][c % len(self.shards[s][kind])] for s, c in picks]) for kind in (0, 1))


def main():
    options = arguments()
    torch.set_num_threads(1)
    torch.manual_seed(options.seed)
    random = np.random.default_rng(options.seed)
    sizes = tuple(int(s) for s in options.sizes.split(","))
    net, mean = Net(sizes, options.drop), Net(sizes)
    tuning = {}
    for prefix in options.tuning.split(","):
        features, labels = shards_of(prefix)[0]
        tuning[os.path.basename(prefix)] = (features, *labels_of_steps(labels))
    shards = shards_of(options.shards)
    batches = Batches(shards, random)
    first = shards[0][0]
    net.centre[:] = torch.from_numpy(np.round(first.reshape(-1, first.shape[-1]).astype(np.float64).mean(axis=0)))
    mean.load_state_dict(net.state_dict())
    optimizer = torch.optim.AdamW(net.parameters(), lr=options.rate, weight_decay=0.02)
    weight = torch.tensor(LOSS_WEIGHTS)
    began, total, done = time.time(), 0.0, 0
    while done < options.batches:
        inputs, truth = batches.get(done)
        targets, weights = labels_of_steps(truth)
        progress = done / options.batches
        rate = options.rate * min(1, (done + 1) / 100) * (0.02 + 0.98 * 0.5 * (1 + np.cos(np.pi * progress)))
        for group in optimizer.param_groups:
            group["lr"] = rate
        net.train()
        logits = net(varied(inputs, random))
        losses = torch.nn.functional.binary_cross_entropy_with_logits(
            logits, torch.from_numpy(targets) * 0.98 + 0.01, reduction="none")
        loss = (losses * torch.from_numpy(weights) * weight).sum() / (torch.from_numpy(weights) * weight).sum()
        optimizer.zero_grad()
        loss.backward()
        torch.nn.utils.clip_grad_norm_(net.parameters(), 1.0)
        optimizer.step()
        keep = min(SHARE_KEPT, done / (done + 10))
        with torch.no_grad():
            for old, new in zip(mean.parameters(), net.parameters()):
                old.mul_(keep).add_(new, alpha=1 - keep)
        total += loss.item()
        done += 1
        if done % 200 == 0 or done == options.batches:
            line = f"{done} {time.time() - began:.0f} s loss {total / (200 if done % 200 == 0 else done % 200):.4f}"
            for name, (inputs, targets, weights) in tuning.items():
                line += f" | {name} " + " ".join(judge(mean, inputs, targets, weights))
            print(line, flush=True)
            with open(options.out + ".log", "a") as log:
                log.write(line + "\n")
            total = 0.0
            torch.save({"sizes": sizes, "state": mean.state_dict()}, options.out + ".pt")


if __name__ == "__main__":
    main()
