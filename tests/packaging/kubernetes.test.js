/**
 * What is for a cluster is as Kubernetes describes it: node --test kubernetes.test.js
 *
 * Its description comes as types, made from its OpenAPI document; the compiler is what validates.
 */
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { dirname } from 'node:path';
import { test } from 'node:test';
import ts from 'typescript';
import { parseAllDocuments } from 'yaml';

const types = dirname(createRequire(import.meta.url).resolve('kubernetes-types/package.json'));
const documents = parseAllDocuments(readFileSync(new URL('../../packaging/kubernetes.yaml', import.meta.url), 'utf8')).map((document) => {
  assert.deepEqual([...document.errors, ...document.warnings], []);
  return document.toJS();
});
const [service, boxes] = documents;

/** What is wrong with a document, in the compiler's words. */
function mistakes(document) {
  const { apiVersion, kind } = document;
  const file = '/document.ts';
  const text = `import type { ${kind} } from '${types}/${apiVersion.includes('/') ? apiVersion : `core/${apiVersion}`}';
export const document: ${kind} = ${JSON.stringify(document)};`;
  const options = { strict: true, noEmit: true, types: [], skipLibCheck: true, module: ts.ModuleKind.ESNext, moduleResolution: ts.ModuleResolutionKind.Bundler };
  const host = ts.createCompilerHost(options);
  const { getSourceFile, fileExists } = host;
  host.getSourceFile = (name, version) => (name === file ? ts.createSourceFile(name, text, version) : getSourceFile(name, version));
  host.fileExists = (name) => name === file || fileExists(name);
  return ts.getPreEmitDiagnostics(ts.createProgram([file], options, host)).map(({ messageText }) => ts.flattenDiagnosticMessageText(messageText, '\n'));
}

test('each of its documents is valid', () => {
  assert.deepEqual(documents.map(({ kind }) => kind), ['Service', 'StatefulSet']);
  documents.forEach((document) => assert.deepEqual(mistakes(document), []));
});

test('a mistake is told', () => {
  const changed = structuredClone(boxes);
  changed.spec.replicas = 'three';
  assert.match(mistakes(changed).join(), /'string' is not assignable to type 'number'/);
  const misspelt = structuredClone(boxes);
  misspelt.spec.template.spec.containers[0].readinessprobe = {};
  assert.match(mistakes(misspelt).join(), /readinessprobe/);
});

test('whoever is named exists', () => {
  assert.equal(boxes.spec.serviceName, service.metadata.name);
  assert.deepEqual(service.spec.selector, boxes.spec.template.metadata.labels);
  assert.deepEqual(boxes.spec.selector.matchLabels, boxes.spec.template.metadata.labels);
  const { containers: [container], volumes } = boxes.spec.template.spec;
  assert.deepEqual(container.volumeMounts.map(({ name }) => name), volumes.map(({ name }) => name));
  const [{ name, containerPort }] = container.ports;
  for (const probe of ['startupProbe', 'readinessProbe', 'livenessProbe']) assert.deepEqual(container[probe].httpGet, { path: '/healthz', port: name });
  assert.deepEqual(service.spec.ports.map(({ port }) => port), [containerPort]);
});
