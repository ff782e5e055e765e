#!/usr/bin/python3
"""Holds the JSON of messages against protobuf's own: each program reads what the other writes, for every message type.

    protobuf_json_test.py --ribtool PROGRAM --protoc PROGRAM --root DIRECTORY [--messages N]
"""

import argparse
import json
import pathlib
import random
import subprocess
import sys
import tempfile

from google.protobuf import descriptor_pb2, descriptor_pool, json_format, message_factory
from google.protobuf.descriptor import FieldDescriptor as Field
from google.protobuf.internal.decoder import _DecodeVarint32
from google.protobuf.internal.encoder import _VarintBytes

# The library keeps the low 8 bits of these; protobuf has no such type.
SMALL_NUMBERS = {"ip_rib_srv6_sid_ctx.values_2"}

CHARACTERS = ["a", "Z", " ", '"', "\\", "/", "\n", "\x01", "\x7f", "\u00e9", "\u20ac", "\x9b", "\u2028", "\u202e", "\u2069", "\ufffd", "\U0001f600"]


def message_classes(protoc, root):
    """By name, in the order of the files: what protoc makes of the .proto files."""
    files = sorted(str(path.relative_to(root)) for path in root.glob("*/*.proto"))
    with tempfile.NamedTemporaryFile() as out:
        subprocess.run([protoc, f"--proto_path={root}", f"--descriptor_set_out={out.name}", *files], check=True)
        described = descriptor_pb2.FileDescriptorSet.FromString(out.read())
    pool = descriptor_pool.DescriptorPool()
    for file in described.file:
        pool.Add(file)
    factory = message_factory.MessageFactory(pool)
    return {message.name: factory.GetPrototype(pool.FindMessageTypeByName(f"{file.package}.{message.name}"))
            for file in described.file for message in file.message_type}


def random_number(source, bits):
    return source.choice([0, 1, 2**bits - 1, source.getrandbits(bits), source.getrandbits(source.randint(1, bits))])


def random_value(source, field):
    if field.type == Field.TYPE_BOOL:
        return source.random() < 0.5
    if field.type == Field.TYPE_STRING:
        return "".join(source.choices(CHARACTERS, k=source.randint(0, 8)))
    if field.type == Field.TYPE_BYTES:
        return source.randbytes(source.randint(0, 8))
    if f"{field.containing_type.name}.{field.name}" in SMALL_NUMBERS:
        return random_number(source, 8)
    return random_number(source, 64 if field.type == Field.TYPE_UINT64 else 32)


def fill(source, message, percent):
    for field in message.DESCRIPTOR.fields:
        if source.randrange(100) >= percent:
            continue
        if field.label == Field.LABEL_REPEATED:
            values = getattr(message, field.name)
            for _ in range(source.randint(1, 3)):
                if field.message_type:
                    fill(source, values.add(), percent // 2)
                else:
                    values.append(random_value(source, field))
        elif field.message_type:
            nested = getattr(message, field.name)
            nested.SetInParent()
            fill(source, nested, percent // 2)
        else:
            setattr(message, field.name, random_value(source, field))


def random_messages(source, kind, count):
    messages = [kind()]
    for percent in [100, *source.choices([10, 30, 60, 90], k=count - 2)]:
        messages.append(kind())
        fill(source, messages[-1], percent)
    return messages


def delimited(messages):
    encodings = [message.SerializeToString() for message in messages]
    return b"".join(_VarintBytes(len(encoding)) + encoding for encoding in encodings)


def undelimited(stream, kind):
    messages, at = [], 0
    while at < len(stream):
        length, at = _DecodeVarint32(stream, at)
        messages.append(kind.FromString(stream[at:at + length]))
        at += length
    return messages


def converted(ribtool, command, name, stream):
    return subprocess.run([ribtool, command, name, "-", "--delimited"], input=stream, stdout=subprocess.PIPE, check=True).stdout


def check_type(ribtool, name, kind, messages):
    """What is wrong, or nothing."""
    lines = converted(ribtool, "decode", name, delimited(messages)).decode().split("\n")[:-1]
    if len(lines) != len(messages):
        return f"{len(lines)} lines of {len(messages)} messages"
    for line, message in zip(lines, messages):
        if json.loads(line) != json_format.MessageToDict(message, preserving_proto_field_name=True):
            return f"other JSON than protobuf's: {line}\n{json_format.MessageToJson(message)}"
        if json_format.Parse(line, kind()) != message:
            return f"protobuf reads another message from {line}"

    # lowerCamelCase and the fields' own names in turn.
    texts = [json_format.MessageToJson(message, preserving_proto_field_name=index % 2 == 0)
             for index, message in enumerate(messages)]
    back = undelimited(converted(ribtool, "encode", name, "\n".join(texts).encode()), kind)
    for text, message, read in zip(texts, messages, back):
        if read != message:
            return f"ribtool reads another message from {text}"
    return "" if len(back) == len(messages) else f"{len(back)} messages of {len(messages)} texts"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--ribtool", required=True)
    parser.add_argument("--protoc", required=True)
    parser.add_argument("--root", required=True, type=pathlib.Path)
    parser.add_argument("--messages", type=int, default=12, help="of each type")
    arguments = parser.parse_args()

    classes = message_classes(arguments.protoc, arguments.root)
    failed = [] if len(classes) == 76 else [f"{len(classes)} message types instead of 76"]
    for name, kind in classes.items():
        messages = random_messages(random.Random(name), kind, arguments.messages)
        wrong = check_type(arguments.ribtool, name, kind, messages)
        if wrong:
            failed.append(f"{name}: {wrong}")
    print("\n".join(failed) if failed else f"{len(classes)} message types, {arguments.messages} messages of each")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
