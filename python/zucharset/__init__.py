"""Text of unknown encoding, read as a person would.

    zucharset.detect(data)   what encoding bytes are in, and how sure that is
    zucharset.decode(data)   their text
    zucharset.open(path)     a file of text, whatever its encoding

Detector and Converter take texts in pieces, IncrementalDecoder does so for the codecs module, and importing this
package makes the codec "zucharset" known. Errors derive from Error and say file, offset and remedy where these are
known.
"""

from ._decoding import IncrementalDecoder, decode
from ._errors import (
    CancelledError,
    DecodeError,
    Error,
    NotTextError,
    RefusedError,
    UnknownEncodingError,
    UnsupportedEncodingError,
    UnsureWarning,
)
from ._files import TextFile, open
from ._judging import (
    Account,
    DecidedBy,
    Detection,
    EncodingInfo,
    Hint,
    Kind,
    Loss,
    Place,
    Reading,
    detect,
    encodings,
)
from ._streams import Converter, Detector

__all__ = [
    "Account",
    "CancelledError",
    "Converter",
    "DecidedBy",
    "DecodeError",
    "Detection",
    "Detector",
    "EncodingInfo",
    "Error",
    "Hint",
    "IncrementalDecoder",
    "Kind",
    "Loss",
    "NotTextError",
    "Place",
    "Reading",
    "RefusedError",
    "TextFile",
    "UnknownEncodingError",
    "UnsupportedEncodingError",
    "UnsureWarning",
    "decode",
    "detect",
    "encodings",
    "open",
]
