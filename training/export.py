"""Turn trained weights into a model file: export.py WEIGHTS.pt MODEL

Each row of weights becomes 8-bit integers with one factor; docs/model-file.md has the layout.
"""
import struct
import sys
import zlib

import numpy as np
import torch

from net import INPUTS, OUTPUTS, Net

FACTOR_BITS = {"Q8": 35, "Q15": 28}  # of the values that a row is multiplied with


def layer(weights, bias, format_of_values):
    """scale, bias and weights of a matrix as bytes; its columns are padded to a multiple of 16."""
    weights = np.pad(weights, ((0, 0), (0, -weights.shape[1] % 16)))
    largest = np.maximum(np.abs(weights).max(axis=1), 1e-6)
    scale = np.round(largest / 127 * 2.0 ** FACTOR_BITS[format_of_values])
    if scale.max() > 2 ** 31 - 1:
        sys.exit("a row's weights are too large for its factor: train with more weight decay")
    rounded = np.round(weights * (127 / largest[:, None]))
    return (scale.astype("<i4").tobytes() + np.round(bias * 4096).astype("<i4").tobytes() + rounded.astype(np.int8).tobytes())


def gru(state, name):
    """Gates over input and state at once, then the candidate's parts of the input and of the state."""
    w_input, w_state, b_input, b_state = (state[f"{name}.{kind}_l0"].numpy().astype(np.float64)
                                          for kind in ("weight_ih", "weight_hh", "bias_ih", "bias_hh"))
    gates = 2 * w_state.shape[1]
    return (layer(np.hstack([w_input[:gates], w_state[:gates]]), b_input[:gates] + b_state[:gates], "Q15")
            + layer(w_input[gates:], b_input[gates:], "Q15") + layer(w_state[gates:], b_state[gates:], "Q15"))


def model_bytes(sizes, state):
    dense = state["dense.weight"].numpy().astype(np.float64), state["dense.bias"].numpy().astype(np.float64)
    centre = np.pad(np.round(state["centre"].numpy()), (0, -INPUTS % 16)).astype("<i2")
    body = (centre.tobytes() + layer(*dense, "Q8") + gru(state, "first") + gru(state, "second")
            + layer(state["out.weight"].numpy().astype(np.float64), state["out.bias"].numpy().astype(np.float64), "Q15"))
    header = struct.pack("<8sIIIHHHHHH", b"VASKGATE", 1, zlib.crc32(body), len(body), INPUTS, *sizes, len(OUTPUTS), 0)
    return header + body


def main(weights, out):
    trained = torch.load(weights, map_location="cpu")
    Net(trained["sizes"]).load_state_dict(trained["state"])  # complains if it is not one of ours
    with open(out, "wb") as file:
        file.write(model_bytes(trained["sizes"], trained["state"]))


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(*sys.argv[1:])
