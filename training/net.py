"""The net in floating point, as it is trained; export.py turns it into integers."""
import torch
from torch import nn

INPUTS = 92
BANDS = 80  # the inputs before the periodicity: log2 of amplitudes, Q8
OUTPUTS = ("speech_now", "speech_100ms_ago", "speech_200ms_ago", "utterance", "music")
DELAYS = (0, 5, 10, 20, 10)  # steps that each output looks back
SIZES = (48, 80, 64)


class Net(nn.Module):
    """Inputs to a dense layer, two recurrent ones, and five outputs from both states. Steps of 20 ms."""

    def __init__(self, sizes=SIZES, drop=0.0):
        super().__init__()
        dense, first, second = sizes
        self.sizes = sizes
        self.register_buffer("centre", torch.zeros(INPUTS))  # what is taken off the inputs, Q8
        self.dense = nn.Linear(INPUTS, dense)
        self.first = nn.GRU(dense, first, batch_first=True)
        self.second = nn.GRU(first, second, batch_first=True)
        self.out = nn.Linear(first + second, len(OUTPUTS))
        self.drop = nn.Dropout(drop)
        with torch.no_grad():
            self.dense.weight *= 0.3

    def forward(self, inputs):
        """inputs: batch x steps x INPUTS, as the analysis gives them; logits, batch x steps x outputs."""
        x = nn.functional.hardtanh(self.dense((inputs - self.centre) / 256))
        first, _ = self.first(self.drop(x))
        second, _ = self.second(self.drop(first))
        return self.out(self.drop(torch.cat([first, second], dim=-1)))
