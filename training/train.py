"""Train the net: train.py SHARDS TUNING OUT [--batches N] [--sizes D,H1,H2] [--seed N] [--threads N] [--rate R]

SHARDS and TUNING are beginnings of file names as mix.py writes them. The shards are used in order, each once; a
shard that is not there yet is waited for. Then all of them are used again in a random order. OUT.pt gets the mean
of the newest weights, and OUT.log what the tuning material says.
"""
import argparse
import glob
import os
import time

os.environ.setdefault("OPENBLAS_NUM_THREADS", "1")  # its threads wait for each other more than they multiply
import numpy as np
import torch

from net import BANDS, DELAYS, OUTPUTS, Net
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
    octave = 256 / 6.02  # Q8 a dB
    position = torch.linspace(-1, 1, BANDS // 2).repeat(2)
    gain = torch.from_numpy(random.uniform(-14, 14, (clips, 1, 1)).astype(np.float32))
    tilt = torch.from_numpy(random.uniform(-7, 7, (clips, 1, 1)).astype(np.float32))
    bands = x[..., :BANDS] + (gain + tilt * position) * octave
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


def area_under_curve(score, truth):
    order = np.argsort(score, kind="stable")
    truth = truth[order]
    positives = truth.sum()
    ranks = np.arange(1, len(truth) + 1)
    return (ranks[truth > 0.5].sum() - positives * (positives + 1) / 2) / (positives * (len(truth) - positives) + 1e-9)


def judge(net, inputs, targets, weights):
    """Of each output: area under the curve and loss."""
    net.eval()
    with torch.no_grad():
        logits = torch.cat([net(torch.from_numpy(inputs[i:i + 50].astype(np.float32))) for i in range(0, len(inputs), 50)])
    logits = logits.numpy()
    said = []
    for i in range(len(OUTPUTS)):
        chosen = (weights[..., i] > 0) & (targets[..., i] != 0.5)
        z, t = logits[..., i][chosen], targets[..., i][chosen]
        said.append((area_under_curve(z, t), np.mean(np.logaddexp(0, z) - t * z)))
    return said


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    for name in ("shards", "tuning", "out"):
        parser.add_argument(name)
    parser.add_argument("--batches", type=int, default=4000)
    parser.add_argument("--sizes", default="48,80,64")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--threads", type=int, default=1)
    parser.add_argument("--rate", type=float, default=3e-3)
    parser.add_argument("--drop", type=float, default=0.1)
    parser.add_argument("--expect", type=int, required=True, help="how many shards there will be")
    return parser.parse_args()


def shard_names(prefix, count):
    """In the order in which the mixers make them."""
    while True:
        names = sorted(glob.glob(prefix + "*.features.npy"), key=lambda n: (n.split("-")[-1], n))
        if len(names) >= count:
            return [n[:-len(".features.npy")] for n in names[:count]]
        time.sleep(2)


def main():
    options = arguments()
    torch.set_num_threads(options.threads)
    torch.manual_seed(options.seed)
    random = np.random.default_rng(options.seed)
    sizes = tuple(int(s) for s in options.sizes.split(","))
    net, mean = Net(sizes, options.drop), Net(sizes)
    tuning = {}
    for prefix in options.tuning.split(","):
        loaded = [load(n) for n in shard_names(prefix, 1)]
        tuning[os.path.basename(prefix)] = (loaded[0][0], *labels_of_steps(loaded[0][1]))
    data = {}

    def shard(index):
        if index not in data:
            name = shard_names(options.shards, index + 1)[index]
            features, labels = load(name)
            data[index] = (features, labels)
        return data[index]

    net.centre[:] = torch.from_numpy(np.round(shard(0)[0].reshape(-1, shard(0)[0].shape[-1]).astype(np.float64).mean(axis=0)))
    mean.load_state_dict(net.state_dict())
    optimizer = torch.optim.AdamW(net.parameters(), lr=options.rate, weight_decay=0.02)
    weight = torch.tensor(LOSS_WEIGHTS)
    began, total, done = time.time(), 0.0, 0
    while done < options.batches:
        index = done // 7  # about a shard of 500 clips in 7 batches of 64, the first time
        if index < options.expect:
            features, labels = shard(index)
            order = random.permutation(len(features))
            if done % 7 == 0:
                order_of_shard = order
            chosen = order_of_shard[(done % 7) * BATCH:(done % 7 + 1) * BATCH]
            inputs, truth = features[chosen], labels[chosen]
        else:
            picks = [(int(random.integers(options.expect)), int(random.integers(500))) for _ in range(BATCH)]
            inputs = np.stack([shard(s)[0][c % len(shard(s)[0])] for s, c in picks])
            truth = np.stack([shard(s)[1][c % len(shard(s)[1])] for s, c in picks])
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
                said = judge(mean, inputs, targets, weights)
                line += f" | {name} " + " ".join(f"{auc:.4f}/{cost:.3f}" for auc, cost in said)
            print(line, flush=True)
            with open(options.out + ".log", "a") as log:
                log.write(line + "\n")
            total = 0.0
            torch.save({"sizes": sizes, "state": mean.state_dict()}, options.out + ".pt")
            if done % 1000 == 0:
                torch.save({"sizes": sizes, "state": mean.state_dict()}, f"{options.out}-{done}.pt")


if __name__ == "__main__":
    main()
