/** Tells of the cluster's manifest, for a shell, how it starts a box: node manifest.js FILE */
import { readFileSync } from 'node:fs';
import { parseAllDocuments } from 'yaml';

const documents = parseAllDocuments(readFileSync(process.argv[2], 'utf8')).map((document) => document.toJS());
const [container] = documents.find(({ kind }) => kind === 'StatefulSet').spec.template.spec.containers;
const fields = { 'metadata.name': 'box-0', 'metadata.namespace': 'default' };
const environment = new Map(container.env.map(({ name, value, valueFrom }) => [name, value ?? fields[valueFrom.fieldRef.fieldPath]]));
const filled = container.args.map((word) => word.replaceAll(/\$\((\w+)\)/g, (_, name) => environment.get(name)));
const words = (list) => `(${list.map((word) => `'${word}'`).join(' ')})`;
console.log(`environment=${words([...environment].flatMap(([name, value]) => ['--setenv', name, value]))}
arguments=${words(filled)}
mount='${container.volumeMounts[0].mountPath}'
probe='${container.livenessProbe.httpGet.path}'
port=${container.ports.find(({ name }) => name === container.livenessProbe.httpGet.port).containerPort}`);
